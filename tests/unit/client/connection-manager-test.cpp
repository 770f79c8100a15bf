// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"

#include <msg-consumer/ConnectionManager.h>

using namespace msg_consumer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using ConnectionManagerTest = ClientTest;

const char* const STATUS_KEY = "consumer_preference_int_consumer_status";
const char* const FILE_NAME = "ConnectionManager.cpp";

void ignore_event(const char*, void*) {}

TEST_F(ConnectionManagerTest, OpensTheStoreOnceTheServiceIsReached) {
  for (const int value : {1, 2, -1}) {
    fake::store().calls.clear();
    fake::platform().ints[STATUS_KEY] = value;
    EXPECT_EQ(ConnectionManager().connect(), 0) << value;
    EXPECT_THAT(fake::store().calls, ElementsAre("init_db"));
  }
  EXPECT_EQ(fake::gio().shared_connections, 1) << "connecting again keeps the connection";
}

TEST_F(ConnectionManagerTest, DoesNotNameThePreferenceThatCannotBeRead) {
  fake::platform().preference_result = -17;
  EXPECT_EQ(ConnectionManager().connect(), -1);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, "[ERROR] preference_get_int() failed: (-17)", FILE_NAME, "connect");
  EXPECT_EQ(fake::gio().shared_connections, 0);
}

TEST_F(ConnectionManagerTest, AsksForTheServiceToBeLaunched) {
  fake::platform().ints[STATUS_KEY] = 0;
  EXPECT_EQ(ConnectionManager().connect(), -1);
  EXPECT_THAT(fake::platform().calls,
              ElementsAre("preference_get_int(consumer_preference_int_consumer_status)", "app_control_create",
                          "app_control_set_app_id(com.velmora.message.consumer)", "app_control_send_launch_request",
                          "app_control_destroy"));
  expect_line(6, "[ERROR] Message consumer is not ready, trying to launch message consumer!", FILE_NAME, "connect");
  EXPECT_EQ(fake::gio().shared_connections, 0);
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

struct LaunchFailure {
  int fake::Platform::*failing;
  const char* error;
};

TEST_F(ConnectionManagerTest, SaysWhichStepOfTheLaunchFailed) {
  const std::array<LaunchFailure, 3> rows = {{
      {&fake::Platform::create_result, "[ERROR] app_control_create() failed: (-9)"},
      {&fake::Platform::set_app_id_result, "[ERROR] app_control_set_app_id() failed: (-9)"},
      {&fake::Platform::launch_result, "app_control_send_launch_request() failed: (-9)"},
  }};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    LogCapture::instance().clear();
    fake::platform().reset();
    fake::platform().ints[STATUS_KEY] = 0;
    fake::platform().*row.failing = -9;
    EXPECT_EQ(ConnectionManager().connect(), -1);
    expect_line(6, row.error, FILE_NAME, "connect");
    EXPECT_EQ(fake::platform().alive_app_controls, 0);
  }
}

TEST_F(ConnectionManagerTest, ReturnsTheProxysResultWithoutABus) {
  fake::gio().bus_reachable = false;
  EXPECT_EQ(ConnectionManager().connect(), -4);
  expect_line(6, "[ERROR] IPCProxy::connect() failed: (-4)", FILE_NAME, "connect");
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

TEST_F(ConnectionManagerTest, ClosesTheStoreWhenItDisconnects) {
  EXPECT_EQ(ConnectionManager().disconnect(), 0) << "also without a connection";
  ConnectionManager().connect();
  fake::store().calls.clear();
  int connections_when_closing = -1;
  fake::store().on_deinit = [&] { connections_when_closing = fake::gio().alive_connections; };
  EXPECT_EQ(ConnectionManager().disconnect(), 0);
  EXPECT_THAT(fake::store().calls, ElementsAre("deinit_db"));
  EXPECT_EQ(connections_when_closing, 1) << "the store is closed first";
  EXPECT_EQ(fake::gio().alive_connections, 0);
}

TEST_F(ConnectionManagerTest, SubscribesUnderTheTypesOwnNumbers) {
  static std::string received;
  received.clear();
  ConnectionManager manager;
  manager.connect();
  EXPECT_EQ(manager.subscribeEvent(
                EVENT_STORE_MESSAGE_RESULT,
                [](const char* data, void* user_data) { received = data + *static_cast<std::string*>(user_data); },
                &received),
            0);
  received = "!";
  fake::gio().emit("store_message_result", g_variant_new("(s)", "x"));
  EXPECT_EQ(received, "x!");
}

TEST_F(ConnectionManagerTest, AcceptsATypeThatDoesNotExist) {
  ConnectionManager manager;
  EXPECT_EQ(manager.subscribeEvent(static_cast<EventType>(0), ignore_event, nullptr), 0);
  EXPECT_EQ(manager.subscribeEvent(static_cast<EventType>(5), ignore_event, nullptr), 0);
  EXPECT_EQ(manager.unsubscribeEvent(static_cast<EventType>(5), ignore_event), 0);
}

TEST_F(ConnectionManagerTest, RefusesAMissingCallback) {
  EXPECT_EQ(ConnectionManager().subscribeEvent(EVENT_STORAGE_CHANGED, nullptr, nullptr), -3);
  expect_line(6, "[ERROR] IPCProxy::subscribe() failed: (-3)", FILE_NAME, "subscribeEvent");
}

TEST_F(ConnectionManagerTest, SaysThatACallbackIsNotSubscribed) {
  EXPECT_EQ(ConnectionManager().unsubscribeEvent(EVENT_STORAGE_CHANGED, ignore_event), -1);
  expect_line(6, "[ERROR] IPCProxy::unsubscribe() failed: (-1)", FILE_NAME, "unsubscribeEvent");
}

// In a process of its own, where no proxy has been made yet.
TEST_F(ConnectionManagerTest, AnswersThatThereIsNoProxyWhenNoneCanBeMade) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        fake::allocator().nothrow_new_fails = true;
        ConnectionManager manager;
        const bool refused = manager.connect() == -2 && manager.disconnect() == -2 &&
                             manager.subscribeEvent(EVENT_STORAGE_CHANGED, ignore_event, nullptr) == -2 &&
                             manager.unsubscribeEvent(EVENT_STORAGE_CHANGED, ignore_event) == -2;
        fake::allocator().nothrow_new_fails = false;
        expect_line(6, "[ERROR] IPCProxy::disconnect() failed: (-2)", FILE_NAME, "disconnect");
        std::exit(refused && !HasFailure() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
