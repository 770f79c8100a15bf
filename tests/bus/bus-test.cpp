// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <optional>
#include <thread>

#include <msg-consumer/ipc/CMessageSync.h>
#include <msg-consumer/msg-consumer-client.h>

#include "fake-service.hpp"
#include "fake-store.hpp"
#include "support/log-capture.hpp"
#include "support/private-bus.hpp"
#include "support/wait-until.hpp"

using namespace msg_consumer::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// The client library on a real bus of this test's own, with a service that says what a test tells it to.
class OnABus : public testing::Test {
 protected:
  OnABus() {
    events().clear();
    service.emplace(bus.address());
  }
  ~OnABus() override { msg_consumer_disconnect(); }

  static void connect() {
    ASSERT_EQ(msg_consumer_connect(), 0);
    LogCapture::instance().clear();
  }

  /// Connects and has the bus take note of the subscriptions, which nobody waits for: what a call follows, its reply
  /// proves.
  static void connect_and_listen() {
    connect();
    ASSERT_EQ(msg_consumer_read_message(1), 0);
  }

  void restart_bus() {
    service.reset();
    bus.kill();
    bus.start();
    service.emplace(bus.address());
  }

  static std::vector<std::string>& events() {
    static std::vector<std::string> received;
    return received;
  }
  static void on_event(const char* data, void* /*user_data*/) { events().emplace_back(data); }

  PrivateBus bus;
  std::optional<FakeService> service;
};

using Calls = OnABus;
using Signals = OnABus;
using Restart = OnABus;

TEST_F(Calls, ArriveWithTheirTypesAndBringTheStatusBack) {
  connect();
  service->answer_status(-1101);
  EXPECT_EQ(msg_consumer_read_message(5), -9);
  ASSERT_THAT(service->calls(), SizeIs(1));
  EXPECT_EQ(service->calls()[0].method, "read_message");
  EXPECT_EQ(service->calls()[0].type, "(ii)");
  EXPECT_EQ(service->calls()[0].params, "(5, 0)");
}

TEST_F(Calls, ThatSendBringTheNewId) {
  connect();
  service->answer_id_and_status(12, 0);
  int id = 0;
  EXPECT_EQ(msg_consumer_send_message(0, "+491", "Grüße 👋", 1, &id), 0);
  EXPECT_EQ(id, 12);
  EXPECT_EQ(service->calls()[0].type, "(sisssi)");
  EXPECT_EQ(service->calls()[0].params, "('sms', 0, '+491', 'Grüße 👋', '', 1)");
}

TEST_F(Calls, CarryEveryOtherShapeOfArguments) {
  connect();
  const std::array<int, 3> ids = {7, 7, 9};
  EXPECT_EQ(msg_consumer_delete_threads(ids.data(), 3), 0);
  EXPECT_EQ(msg_consumer_send_change_sms_application_request(true), 0);
  EXPECT_EQ(msg_consumer_get_content_file(5, "/tmp/Grüße"), 0);
  EXPECT_EQ(msg_consumer_nms_delete_invalid_msg_meta(), 0);
  EXPECT_EQ(msg_consumer_nms_handle_resetbox(), 0);
  msg_nms_mssi_info_t subscription = {9223372036854775809ULL, const_cast<char*>("token")};
  EXPECT_EQ(msg_consumer_nms_update_mssi_info(&subscription), 0);
  std::vector<std::string> seen;
  for (const auto& call : service->calls()) seen.push_back(call.method + call.type + call.params);
  EXPECT_THAT(seen,
              ElementsAre("delete_threads(v)(<[7, 7, 9]>,)", "send_change_sms_application_request(b)(true,)",
                          "get_content_file(is)(5, '/tmp/Grüße')", "nms_delete_invalid_msg_meta", "nms_handle_resetbox",
                          "nms_update_subscription_info(ts)(9223372036854775809, 'token')"));
}

TEST_F(Calls, CarryExactlyTheBytesOfASerialisedRecord) {
  connect();
  fake::store().serialised = "{\"text\":\"Grüße\"}";
  fake::store().serialised_length = static_cast<int>(fake::store().serialised.size());
  const msg_message_item_t message = {};
  const msg_nms_msg_meta_data_t meta = {};
  EXPECT_EQ(msg_consumer_nms_add_message(&message), 0);
  EXPECT_EQ(msg_consumer_nms_add_msg_meta(&meta), 0);
  EXPECT_EQ(msg_consumer_nms_update_msg_meta(5, "object", &meta), 0);
  ASSERT_THAT(service->calls(), SizeIs(3));
  const std::vector<std::string> types = {"(vi)", "(vi)", "(isvi)"};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto call = service->calls()[i];
    EXPECT_EQ(call.type, types[i]);
    EXPECT_EQ(call.bytes, fake::store().serialised);
    EXPECT_THAT(call.params, testing::EndsWith(", " + std::to_string(call.bytes.size()) + ")"));
  }
}

TEST_F(Calls, FailWhenTheServiceAnswersWithAnError) {
  connect();
  service->answer_error("org.example.Refused", "not today");
  EXPECT_EQ(msg_consumer_read_message(5), -4);
  EXPECT_THAT(LogCapture::instance().messages(),
              testing::Contains("[ERROR] method:(read_message), error:(GDBus.Error:org.example.Refused: not today)"));
}

TEST_F(Calls, FailWhenTheServiceAnswersNonsense) {
  connect();
  service->answer([](const FakeService::Call&) { return g_variant_new("(sd)", "nonsense", 1.5); });
  int id = -7;
  EXPECT_EQ(msg_consumer_read_message(5), -4);
  EXPECT_EQ(msg_consumer_send_message(0, "+491", "hi", 1, &id), -4);
  EXPECT_EQ(id, -7);
  service->answer_status(0);
  EXPECT_EQ(msg_consumer_read_message(5), 0) << "the connection is none the worse for it";
}

TEST_F(Calls, FailWhenThereIsNoService) {
  connect();
  service.reset();
  EXPECT_EQ(msg_consumer_read_message(5), -4);
  EXPECT_TRUE(LogCapture::instance().contains("[ERROR] method:(read_message), error:("));
}

TEST_F(Calls, EndAfterFiveSecondsWithoutAReply) {
  connect();
  service->answer([](const FakeService::Call&) -> GVariant* { return nullptr; });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(msg_consumer_read_message(5), -4);
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited, std::chrono::milliseconds(4900));
  EXPECT_LE(waited, std::chrono::milliseconds(7000)) << "five seconds, and what a busy machine adds";
}

TEST_F(Signals, ArriveOnceEachInTheirOrder) {
  connect_and_listen();
  for (int type = 0; type < 4; ++type) ASSERT_EQ(msg_consumer_event_subscribe(type, on_event, nullptr), 0);
  service->emit("storage_changed", g_variant_new("(s)", "1"));
  service->emit("store_message_result", g_variant_new("(s)", "2"));
  service->emit("content_changed", g_variant_new("(s)", "3"));
  service->emit("groupchat_state_changed", g_variant_new("(s)", "4"));
  service->emit("storage_changed", g_variant_new("(s)", "last"));
  EXPECT_TRUE(iterate_until([] { return !events().empty() && events().back() == "last"; }));
  EXPECT_THAT(events(), ElementsAre("1", "2", "3", "4", "last"));
}

TEST_F(Signals, OfNobodyElseArrive) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  service->emit("storage_changed", g_variant_new("(s)", "other interface"), "org.example.Other");
  service->emit("storage_changed", g_variant_new("(s)", "other path"), "com.velmora.message.consumer.server", "/other");
  {
    // Another connection, which does not own the service's name.
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    const msg_consumer::Owned<GDBusConnection, g_object_unref> stranger(
        g_dbus_connection_new_for_address_sync(bus.address().c_str(), flags, nullptr, nullptr, nullptr));
    g_dbus_connection_emit_signal(stranger.get(), nullptr, "/com/velmora/message/consumer",
                                  "com.velmora.message.consumer.server", "storage_changed",
                                  g_variant_new("(s)", "stranger"), nullptr);
    g_dbus_connection_flush_sync(stranger.get(), nullptr, nullptr);
    g_dbus_connection_close_sync(stranger.get(), nullptr, nullptr);
  }
  service->emit("storage_changed", g_variant_new("(s)", "last"));
  EXPECT_TRUE(iterate_until([] { return !events().empty() && events().back() == "last"; }));
  EXPECT_THAT(events(), ElementsAre("last"));
}

TEST_F(Signals, WithOtherParametersThanOneTextAreDroppedWithAWord) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  LogCapture::instance().clear();
  service->emit("storage_changed", g_variant_new("(i)", 7));
  service->emit("storage_changed", nullptr);
  service->emit("storage_changed", g_variant_new("(s)", "last"));
  EXPECT_TRUE(iterate_until([] { return !events().empty(); }));
  EXPECT_THAT(events(), ElementsAre("last"));
  EXPECT_THAT(LogCapture::instance().messages(), SizeIs(2));
}

TEST_F(Signals, DoNotArriveAfterDisconnecting) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  service->emit("storage_changed", g_variant_new("(s)", "early"));
  ASSERT_TRUE(iterate_until([] { return !events().empty(); }));
  msg_consumer_disconnect();
  service->emit("storage_changed", g_variant_new("(s)", "late"));
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  service->emit("storage_changed", g_variant_new("(s)", "again"));
  ASSERT_TRUE(iterate_until([] { return events().back() == "again"; }));
  EXPECT_THAT(events(), ElementsAre("early", "again"));
}

TEST_F(Signals, RunOnTheThreadWhoseContextWasCurrentWhenConnecting) {
  static std::thread::id callback_thread;
  callback_thread = {};
  std::thread::id connecting_thread;
  std::thread other([&] {
    const msg_consumer::Owned<GMainContext, g_main_context_unref> context(g_main_context_new());
    g_main_context_push_thread_default(context.get());
    connecting_thread = std::this_thread::get_id();
    connect_and_listen();
    msg_consumer_event_subscribe(
        0, [](const char*, void*) { callback_thread = std::this_thread::get_id(); }, nullptr);
    service->emit("storage_changed", g_variant_new("(s)", "x"));
    EXPECT_TRUE(iterate_until([] { return callback_thread != std::thread::id(); }));
    msg_consumer_disconnect();
    g_main_context_pop_thread_default(context.get());
  });
  other.join();
  EXPECT_EQ(callback_thread, connecting_thread);
}

TEST_F(Restart, OfTheBusIsRepairedByTheNextCallWithoutAMainLoop) {
  connect();
  ASSERT_EQ(msg_consumer_read_message(1), 0);
  for (int round = 0; round < 3; ++round) {
    restart_bus();
    EXPECT_EQ(msg_consumer_read_message(2), 0) << "round " << round;
    EXPECT_THAT(service->calls(), SizeIs(1));
  }
}

TEST_F(Restart, OfTheBusLetsAnEventArriveOnceAfterTheNextCall) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  restart_bus();
  ASSERT_EQ(msg_consumer_read_message(2), 0);
  service->emit("storage_changed", g_variant_new("(s)", "after"));
  EXPECT_TRUE(iterate_until([] { return !events().empty(); }));
  service->emit("storage_changed", g_variant_new("(s)", "last"));
  EXPECT_TRUE(iterate_until([] { return events().back() == "last"; }));
  EXPECT_THAT(events(), ElementsAre("after", "last"));
}

TEST_F(Restart, OfTheBusDoesNotEndAnApplicationThatIteratesItsContext) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  service.reset();
  bus.kill();
  // The loop sees the connection close; by default that would be the end of the process.
  iterate_until([] { return false; }, std::chrono::milliseconds(200));
  EXPECT_EQ(msg_consumer_read_message(1), -4) << "there is no bus";
  bus.start();
  service.emplace(bus.address());
  EXPECT_EQ(msg_consumer_read_message(1), -4) << "a failed reopening leaves the library disconnected";
  EXPECT_EQ(msg_consumer_connect(), 0);
  EXPECT_EQ(msg_consumer_read_message(1), 0);
}

TEST_F(Restart, OfTheBusIsRepairedBesideAnotherHolderOfTheSharedConnection) {
  const msg_consumer::Owned<GDBusConnection, g_object_unref> holder(
      g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  restart_bus();
  ASSERT_EQ(msg_consumer_read_message(2), 0);
  EXPECT_TRUE(g_dbus_connection_is_closed(holder.get()));
  service->emit("storage_changed", g_variant_new("(s)", "after"));
  EXPECT_TRUE(iterate_until([] { return !events().empty(); }));
  EXPECT_THAT(events(), ElementsAre("after"));
  restart_bus();
  EXPECT_EQ(msg_consumer_read_message(3), 0) << "and again from a connection of its own";
}

TEST_F(Restart, OfTheServiceNeedsNothingFromTheApplication) {
  connect_and_listen();
  msg_consumer_event_subscribe(0, on_event, nullptr);
  service.reset();
  service.emplace(bus.address());
  EXPECT_EQ(msg_consumer_read_message(1), 0);
  service->emit("storage_changed", g_variant_new("(s)", "new owner"));
  EXPECT_TRUE(iterate_until([] { return !events().empty(); }));
}

TEST(WithoutABus, ConnectingFails) {
  const EnvironmentVariable nowhere("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
  EXPECT_EQ(msg_consumer_connect(), -4);
  EXPECT_TRUE(LogCapture::instance().contains("[ERROR] g_bus_get_sync() failed: ("));
  EXPECT_EQ(msg_consumer_disconnect(), 0);
}

}  // namespace
