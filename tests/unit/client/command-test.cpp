// SPDX-License-Identifier: Apache-2.0
#include "command-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::IsEmpty;
using testing::SizeIs;

TEST_P(Command, MakesItsRequestAndMapsEveryResult) {
  for (const auto& [result, status] : STATUSES) {
    SCOPED_TRACE(result);
    connect();
    id_out = -7;
    if (GetParam().has_id) {
      fake::gio().reply_id_and_status(41, result);
    } else {
      fake::gio().reply_status(result);
    }
    EXPECT_EQ(GetParam().run(), status);
    ASSERT_THAT(fake::gio().calls, SizeIs(1));
    EXPECT_EQ(fake::gio().calls[0].method, GetParam().method);
    EXPECT_EQ(fake::gio().calls[0].params, GetParam().params);
    EXPECT_EQ(id_out, GetParam().has_id ? 41 : -7);
    if (result == 0) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      EXPECT_THAT(errors(), SizeIs(1));
      expect_line(6, std::string(GetParam().operation) + "() failed: (" + std::to_string(result) + ")",
                  "msg-consumer-client.cpp", GetParam().function);
    }
    msg_consumer_disconnect();
    fake::gio().reset();
  }
}

TEST_P(Command, FailsWithoutAConnection) {
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -4);
  EXPECT_EQ(id_out, -7);
  expect_line(6, std::string(GetParam().operation) + "() failed: (-4)", "msg-consumer-client.cpp", GetParam().function);
}

TEST_P(Command, FailsWhenItsRequestObjectCannotBeAllocated) {
  connect();
  fake::allocator().nothrow_new_fails = true;
  EXPECT_EQ(GetParam().run(), -2);
  fake::allocator().nothrow_new_fails = false;
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, "[ERROR] Failed to allocate memory!", "msg-consumer-client.cpp", GetParam().function);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_P(Command, MakesOneRequestObject) {
  connect();
  fake::allocator().reset();
  GetParam().run();
  EXPECT_EQ(fake::allocator().nothrow_news, 1);
}

TEST_P(Refusal, ComesBeforeAnythingIsAllocatedReadOrSent) {
  connect();
  fake::allocator().reset();
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -11);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, GetParam().error, "msg-consumer-client.cpp", GetParam().function);
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_EQ(fake::allocator().malloc0s, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_THAT(fake::store().calls, IsEmpty());
  EXPECT_THAT(fake::platform().calls, IsEmpty());
  EXPECT_EQ(id_out, -7);
}
