// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Connection = ClientTest;
using EventSubscription = ClientTest;

const char* const STATUS_KEY = "consumer_preference_int_consumer_status";
const char* const FILE_NAME = "msg-consumer-client.cpp";

void ignore_event(const char*, void*) {}

TEST_F(Connection, OpensTheStoreOnceTheServiceIsReached) {
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(fake::gio().shared_connections, 1);
  EXPECT_THAT(fake::store().calls, ElementsAre("init_db"));
  EXPECT_THAT(fake::platform().calls, ElementsAre("preference_get_int(consumer_preference_int_consumer_status)"));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Connection, CountsAnyOtherValueThanZeroAsReady) {
  for (const int value : {1, 2, -1}) {
    fake::platform().ints[STATUS_KEY] = value;
    EXPECT_EQ(msg_consumer_connect(), 0) << value;
  }
}

TEST_F(Connection, SucceedsTwiceAndOpensTheStoreBothTimes) {
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_THAT(fake::store().calls, ElementsAre("init_db", "init_db"));
  EXPECT_EQ(fake::gio().shared_connections, 1);
}

TEST_F(Connection, DoesNotLookAtTheStoresResult) {
  fake::store().result = -1;
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(msg_consumer_disconnect(), 0);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Connection, FailsWhenThePreferenceCannotBeRead) {
  fake::platform().preference_result = -17;
  EXPECT_EQ(msg_consumer_connect(), -1);
  expect_line(6, "[ERROR] preference_get_int() for (consumer_preference_int_consumer_status) failed: (-17) ", FILE_NAME,
              "msg_consumer_connect");
  EXPECT_EQ(fake::gio().shared_connections, 0);
  EXPECT_THAT(fake::platform().calls, SizeIs(1)) << "nothing is launched";
}

TEST_F(Connection, AsksForTheServiceToBeLaunchedAndFailsAtOnceWhenItIsNotReady) {
  fake::platform().ints[STATUS_KEY] = 0;
  EXPECT_EQ(msg_consumer_connect(), -1);
  EXPECT_THAT(fake::platform().calls,
              ElementsAre("preference_get_int(consumer_preference_int_consumer_status)", "app_control_create",
                          "app_control_set_app_id(com.velmora.message.consumer)", "app_control_send_launch_request",
                          "app_control_destroy"));
  expect_line(6, "[ERROR] Message consumer is not ready, trying to launch message consumer!", FILE_NAME,
              "msg_consumer_connect");
  EXPECT_THAT(errors(), SizeIs(1));
  EXPECT_EQ(fake::gio().shared_connections, 0);
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

struct LaunchFailure {
  const char* name;
  int fake::Platform::*failing;
  const char* error;
  std::vector<std::string> calls;  ///< after the preference was read
};

void PrintTo(const LaunchFailure& row, std::ostream* out) { *out << row.name; }

class FailedLaunch : public ClientTest, public testing::WithParamInterface<LaunchFailure> {};

TEST_P(FailedLaunch, IsSaidAndLeavesNothingBehind) {
  fake::platform().ints[STATUS_KEY] = 0;
  fake::platform().*GetParam().failing = -9;
  EXPECT_EQ(msg_consumer_connect(), -1);
  expect_line(6, GetParam().error, FILE_NAME, "msg_consumer_connect");
  EXPECT_EQ(std::vector<std::string>(fake::platform().calls.begin() + 1, fake::platform().calls.end()),
            GetParam().calls);
  EXPECT_EQ(fake::platform().alive_app_controls, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedLaunch,
    testing::Values(LaunchFailure{"Create",
                                  &fake::Platform::create_result,
                                  "[ERROR] app_control_create() failed: (-9)",
                                  {"app_control_create"}},
                    LaunchFailure{"SetAppId",
                                  &fake::Platform::set_app_id_result,
                                  "[ERROR] app_control_set_app_id() failed: (-9)",
                                  {"app_control_create", "app_control_set_app_id(com.velmora.message.consumer)",
                                   "app_control_destroy"}},
                    LaunchFailure{"Send",
                                  &fake::Platform::launch_result,
                                  "app_control_send_launch_request() failed: (-9)",
                                  {"app_control_create", "app_control_set_app_id(com.velmora.message.consumer)",
                                   "app_control_send_launch_request", "app_control_destroy"}}),
    [](const auto& row) { return row.param.name; });

TEST_F(Connection, FailsWithoutABusAndLeavesTheStoreAlone) {
  fake::gio().bus_reachable = false;
  EXPECT_EQ(msg_consumer_connect(), -4);
  expect_line(6, "[ERROR] IPCProxy::connect() failed: (-4)", FILE_NAME, "msg_consumer_connect");
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

TEST_F(Connection, FailsWhenASignalCannotBeSubscribed) {
  fake::gio().failing_subscription = 2;
  EXPECT_EQ(msg_consumer_connect(), -4);
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

TEST_F(Connection, ClosesTheStoreFirstWhenItDisconnects) {
  msg_consumer_connect();
  fake::store().calls.clear();
  int connections_when_closing = -1;
  fake::store().on_deinit = [&] { connections_when_closing = fake::gio().alive_connections; };
  EXPECT_EQ(msg_consumer_disconnect(), 0);
  EXPECT_THAT(fake::store().calls, ElementsAre("deinit_db"));
  EXPECT_EQ(connections_when_closing, 1);
  EXPECT_EQ(fake::gio().alive_connections, 0);
}

TEST_F(Connection, DisconnectsWithoutHavingConnected) {
  EXPECT_EQ(msg_consumer_disconnect(), 0);
  EXPECT_THAT(fake::store().calls, ElementsAre("deinit_db"));
}

TEST_F(Connection, MayBeMadeAgain) {
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(msg_consumer_disconnect(), 0);
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(fake::gio().shared_connections, 2);
  EXPECT_EQ(fake::gio().alive_connections, 1);
}

TEST_F(EventSubscription, RefusesTypesThatDoNotExist) {
  for (const int type : {4, -1, 5, 2147483647, -2147483647 - 1}) {
    SCOPED_TRACE(type);
    LogCapture::instance().clear();
    EXPECT_EQ(msg_consumer_event_subscribe(type, ignore_event, nullptr), -2);
    expect_line(6, "[ERROR] Unhandled type: (" + std::to_string(type) + ")", FILE_NAME, "msg_consumer_event_subscribe");
    LogCapture::instance().clear();
    EXPECT_EQ(msg_consumer_event_unsubscribe(type, ignore_event), -2);
    expect_line(6, "[ERROR] Unhandled type: (" + std::to_string(type) + ")", FILE_NAME,
                "msg_consumer_event_unsubscribe");
  }
}

TEST_F(EventSubscription, RefusesAnUnknownTypeBeforeItLooksAtTheCallback) {
  EXPECT_EQ(msg_consumer_event_subscribe(4, nullptr, nullptr), -2);
}

TEST_F(EventSubscription, RefusesAMissingCallback) {
  EXPECT_EQ(msg_consumer_event_subscribe(0, nullptr, nullptr), -11);
  expect_line(6, "[ERROR] IPCProxy::subscribe() failed: (-3)", FILE_NAME, "msg_consumer_event_subscribe");
}

TEST_F(EventSubscription, DeliversEachEventOnceHoweverOftenItIsRepeated) {
  static int called;
  called = 0;
  const auto count = [](const char*, void*) { ++called; };
  msg_consumer_connect();
  EXPECT_EQ(msg_consumer_event_subscribe(0, count, nullptr), 0);
  EXPECT_EQ(msg_consumer_event_subscribe(0, count, nullptr), 0);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "{}"));
  EXPECT_EQ(called, 1);
}

TEST_F(EventSubscription, NumbersTheTypesFromZero) {
  const std::array<const char*, 4> signals = {"storage_changed", "content_changed", "groupchat_state_changed",
                                              "store_message_result"};
  static std::vector<std::string> received;
  received.clear();
  const auto note = [](const char* data, void* user_data) {
    received.push_back(std::string(static_cast<const char*>(user_data)) + "=" + data);
  };
  msg_consumer_connect();
  std::array<std::string, 4> names = {"0", "1", "2", "3"};
  for (int type = 0; type < 4; ++type) EXPECT_EQ(msg_consumer_event_subscribe(type, note, names[type].data()), 0);
  for (const char* signal : signals) fake::gio().emit(signal, g_variant_new("(s)", signal));
  EXPECT_THAT(received, ElementsAre("0=storage_changed", "1=content_changed", "2=groupchat_state_changed",
                                    "3=store_message_result"));
}

TEST_F(EventSubscription, CanBeTakenBackOnce) {
  msg_consumer_event_subscribe(1, ignore_event, nullptr);
  EXPECT_EQ(msg_consumer_event_unsubscribe(1, ignore_event), 0);
  EXPECT_EQ(msg_consumer_event_unsubscribe(1, ignore_event), -1);
  expect_line(6, "[ERROR] IPCProxy::unsubscribe() failed: (-1)", FILE_NAME, "msg_consumer_event_unsubscribe");
}

TEST_F(EventSubscription, IsDroppedByDisconnecting) {
  msg_consumer_connect();
  msg_consumer_event_subscribe(0, ignore_event, nullptr);
  msg_consumer_disconnect();
  EXPECT_EQ(msg_consumer_event_unsubscribe(0, ignore_event), -1);
}

// In a process of its own, where no proxy has been made yet.
TEST_F(Connection, AnswersThatThereIsNoProxyWhenNoneCanBeMade) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        fake::allocator().nothrow_new_fails = true;
        EXPECT_EQ(msg_consumer_connect(), -2);
        expect_line(6, "[ERROR] IPCProxy::connect() failed: (-2)", FILE_NAME, "msg_consumer_connect");
        LogCapture::instance().clear();
        EXPECT_EQ(msg_consumer_disconnect(), -2);
        // The line names connect here too.
        expect_line(6, "[ERROR] IPCProxy::connect() failed: (-2)", FILE_NAME, "msg_consumer_disconnect");
        EXPECT_EQ(msg_consumer_event_subscribe(0, ignore_event, nullptr), -2);
        expect_line(6, "[ERROR] IPCProxy::subscribe() failed: (-2)", FILE_NAME, "msg_consumer_event_subscribe");
        EXPECT_EQ(msg_consumer_event_unsubscribe(0, ignore_event), -2);
        expect_line(6, "[ERROR] IPCProxy::unsubscribe() failed: (-2)", FILE_NAME, "msg_consumer_event_unsubscribe");
        fake::allocator().nothrow_new_fails = false;
        std::exit(HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
