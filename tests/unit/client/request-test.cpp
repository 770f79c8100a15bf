// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "request-test.hpp"

using testing::IsEmpty;
using testing::SizeIs;

TEST_P(Request, SendsItsTupleAndReturnsTheServicesStatus) {
  for (const int status : {0, -1, -3, -5, -1101, 5}) {
    SCOPED_TRACE(status);
    connect();
    if (GetParam().id_out != nullptr) {
      *GetParam().id_out = -7;
      fake::gio().reply_id_and_status(41, status);
    } else {
      fake::gio().reply_status(status);
    }
    EXPECT_EQ(GetParam().run(), status);
    ASSERT_THAT(fake::gio().calls, SizeIs(1));
    EXPECT_EQ(fake::gio().calls[0].method, GetParam().method);
    EXPECT_EQ(fake::gio().calls[0].params, GetParam().params);
    if (GetParam().id_out != nullptr) {
      EXPECT_EQ(*GetParam().id_out, 41) << "written whatever the status";
    }
    EXPECT_THAT(errors(), IsEmpty()) << "the service's refusal is the caller's to log";
    expect_traces(GetParam().traces.size());
    msg_consumer::IPCProxy::getInstance()->disconnect();
    fake::gio().reset();
  }
}

TEST_P(Request, TracesAndFailsInTheCallWhenNotConnected) {
  if (GetParam().id_out != nullptr) *GetParam().id_out = -7;
  EXPECT_EQ(GetParam().run(), -4);
  if (GetParam().id_out != nullptr) {
    EXPECT_EQ(*GetParam().id_out, -7);
  }
  expect_traces(GetParam().traces.size());
  expect_line(6, "[ERROR] dbus connection is not established yet!", "IPCProxy.cpp", "callSync");
}

TEST_P(Request, StopsAtACommandWithoutAName) {
  connect();
  fake::store().catalogue_has_names = false;
  fake::store().catalogue_has_formats = false;
  EXPECT_EQ(GetParam().run(), -3);
  expect_line(6, GetParam().name_failed, GetParam().file, GetParam().function);
  expect_entry_trace();
  EXPECT_THAT(errors(), SizeIs(1));
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_P(Request, StopsAtACommandWithoutAFormat) {
  if (std::string(GetParam().params) == "null") GTEST_SKIP() << "sends no tuple, so it asks for no format";
  connect();
  fake::store().catalogue_has_formats = false;
  EXPECT_EQ(GetParam().run(), -3);
  expect_line(6, GetParam().format_failed, GetParam().file, GetParam().function);
  expect_entry_trace();
  EXPECT_THAT(errors(), SizeIs(1));
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_P(Request, StopsWhenTheTupleCannotBeBuilt) {
  if (std::string(GetParam().params) == "null") GTEST_SKIP() << "sends no tuple";
  connect();
  if (GetParam().id_out != nullptr) *GetParam().id_out = -7;
  fake::allocator().g_variant_new_fails = true;
  EXPECT_EQ(GetParam().run(), -2);
  fake::allocator().g_variant_new_fails = false;
  if (GetParam().id_out != nullptr) {
    EXPECT_EQ(*GetParam().id_out, -7);
  }
  expect_line(6, "[ERROR] g_variant_new() failed!", GetParam().file, GetParam().function);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

// In a process of its own, where no instance has been made yet.
TEST_P(Request, AnswersThatThereIsNoProxyWhenNoneCanBeMade) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        fake::allocator().nothrow_new_fails = true;
        const int result = GetParam().run();
        fake::allocator().nothrow_new_fails = false;
        expect_line(6, "[ERROR] IPCProxy::getInstance() failed!", GetParam().file, GetParam().function);
        expect_entry_trace();
        std::exit(result == -2 && !HasFailure() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}
