// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>
#include <msg-consumer/msg-consumer-client.h>

#include <thread>

#include "rows.hpp"
#include "support/process.hpp"

namespace msg_consumer::test {
namespace {

// What is made once per process or thread, which tests that run before would have made already.

void on_event(const char* /*data*/, void* /*user_data*/) {}

TEST(FirstUse, OfTheProxyWithoutMemoryIsAStatusAndMayBeTriedAgain) {
  enum { REFUSED_THEN_DONE, NO_FAULT, WRONG };
  int failed = 0;
  for (int ended = REFUSED_THEN_DONE; ended == REFUSED_THEN_DONE; ++failed) {
    Process application([failed] {
      const auto subscribe = [] { return msg_consumer_event_subscribe(0, on_event, nullptr); };
      int status = 0;
      bool struck = false;
      {
        const Fault fault(Allocator::NEW, failed);
        status = subscribe();
        struck = fault.has_struck();
      }
      if (!struck) return status == 0 ? NO_FAULT : WRONG;
      return status == MSG_CONSUMER_ERROR_OUT_OF_MEMORY && subscribe() == 0 ? REFUSED_THEN_DONE : WRONG;
    });
    ended = application.wait().value_or(WRONG);
    ASSERT_NE(ended, WRONG) << failed;
  }
  EXPECT_GT(failed, 2);
}

TEST(FirstUse, OfTheStoreByAThreadWithoutMemoryIsAStatusAndMayBeTriedAgain) {
  Device device;
  int failed = 0;
  for (bool struck = true; struck; ++failed) {
    int status = 0;
    int again = 0;
    std::thread([&] {
      Message message;
      {
        const Fault fault(Allocator::NEW, failed);
        status = db::db_get_message(device.message, message);
        struck = fault.has_struck();
      }
      again = db::db_get_message(device.message, message);
    }).join();
    EXPECT_EQ(status, struck ? db::DB_OUT_OF_MEMORY : db::DB_OK) << failed;
    EXPECT_EQ(again, db::DB_OK) << failed;
  }
  EXPECT_GT(failed, 10);
}

// The answer is kept only once the preference was read, so that it is asked for in every one of these calls.
TEST(FirstUse, OfTheNetworkStoreIsNotSupportedWhileThePreferenceCannotBeRead) {
  Device device;
  std::vector<FaultRow> rows = c_rows();
  std::erase_if(rows, [](const FaultRow& row) { return !row.name.starts_with("msg_consumer_nms_"); });
  for (FaultRow& row : rows) {
    row.clean = MSG_CONSUMER_ERROR_NOT_SUPPORTED;
    row.refusals = {};
    row.reaches_service = false;
    row.prepare = [prepare = row.prepare](Device& on) {
      on.write_preferences();
      if (prepare) prepare(on);
      on.write_preferences("[");
    };
  }
  fail_each_row(device, rows, "number sync asked for the first time",
                {Allocator::NEW, Extent::ONE, "OneOfOperatorNew"});
  msg_consumer_disconnect();
}

}  // namespace
}  // namespace msg_consumer::test
