// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer/msg-consumer-client.h>

#include <msg-consumer-platform/releaser.hpp>

#include "rows.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

/// An application on a device whose memory runs out at any moment.
class ClientOutOfMemory : public testing::Test {
 protected:
  ~ClientOutOfMemory() override { msg_consumer_disconnect(); }

  Device device;
};

class ClientOutOfAnyMemory : public ClientOutOfMemory, public testing::WithParamInterface<FaultClass> {};

TEST_P(ClientOutOfAnyMemory, AnswersWithAStatusFromEveryFunctionAndLosesNothing) {
  fail_each_row(device, c_rows(), "C functions", GetParam());
}

TEST_P(ClientOutOfAnyMemory, AnswersOrThrowsBadAllocFromEveryManager) {
  fail_each_row(device, manager_rows(), "manager methods", GetParam());
}

INSTANTIATE_TEST_SUITE_P(Faults, ClientOutOfAnyMemory, testing::ValuesIn(FAULT_CLASSES),
                         [](const auto& tested) { return tested.param.name; });

// A list then has an empty place and a record an absent text, whose release the rows try.
TEST_F(ClientOutOfMemory, FillsWhatItCanWhenPublicRecordsCannotBeMade) {
  std::vector<FaultRow> rows = c_rows();
  std::erase_if(rows, [](const FaultRow& row) {
    const bool reads = row.name.find("_get_") != std::string::npos || row.name == "msg_consumer_copy_content";
    return row.reaches_service || !reads;
  });
  for (FaultRow& row : rows) row.refusals = {};
  rows.front().refusals = {0};
  ASSERT_EQ(rows.front().name, "msg_consumer_copy_content");
  fail_each_row(device, rows, "public records", {Allocator::GLIB, Extent::ONE, "OneOfGlib"});
}

int events_received = 0;
void on_event(const char* /*data*/, void* /*user_data*/) { ++events_received; }

// Others in the process may hold the connection that the client could not finish opening.
TEST_F(ClientOutOfMemory, DeliversEventsOnceAfterAConnectionThatFailed) {
  const Owned<GDBusConnection, g_object_unref> held(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  ASSERT_EQ(msg_consumer_event_subscribe(0, on_event, nullptr), 0);
  int failed = 0;
  for (bool struck = true; struck; ++failed) {
    msg_consumer_disconnect();
    {
      const Fault fault(Allocator::NEW, failed);
      static_cast<void>(msg_consumer_connect());
      struck = fault.has_struck();
    }
    ASSERT_EQ(msg_consumer_connect(), 0);
    ASSERT_EQ(msg_consumer_event_subscribe(0, on_event, nullptr), 0);
    ASSERT_EQ(msg_consumer_read_message(1), 0) << "by its reply the bus has taken note of the subscriptions";
    events_received = 0;
    device.service.emit("storage_changed", g_variant_new("(s)", "first"));
    ASSERT_TRUE(iterate_until([] { return events_received > 0; }));
    device.service.emit("storage_changed", g_variant_new("(s)", "second"));
    ASSERT_TRUE(iterate_until([] { return events_received > 1; }));
    // Whatever was delivered twice stands in the loop by now.
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
    EXPECT_EQ(events_received, 2) << failed;
  }
  EXPECT_GT(failed, 1);
}

std::set<std::string> names(const std::vector<FaultRow>& rows) {
  std::set<std::string> result;
  for (const FaultRow& row : rows) result.insert(row.name);
  return result;
}

TEST(FaultTable, NamesEveryFunctionOfTheCInterface) {
  EXPECT_EQ(names(c_rows()), declared("msg-consumer-client.h", R"((?:^|\n)(?:int|void) (msg_consumer_\w+)\()"));
}

TEST(FaultTable, NamesEveryMethodOfTheManagers) {
  std::set<std::string> methods;
  for (const std::string manager : {"ConnectionManager", "ContentManager", "MessageManager", "MsgOperationManager",
                                    "NmsManager", "ThreadManager"}) {
    for (const std::string& method : declared(manager + ".h", R"(\n  int (\w+)\()")) {
      methods.insert(manager + "::" + method);
    }
  }
  EXPECT_EQ(names(manager_rows()), methods);
}

}  // namespace
}  // namespace msg_consumer::test
