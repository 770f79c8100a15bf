// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <new>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>
#include <msg-consumer-platform/releaser.hpp>

using namespace msg_consumer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Proxy = ClientTest;
using Events = ClientTest;

IPCProxy& proxy() { return *IPCProxy::getInstance(); }

/// The last ids that were unsubscribed. Those of the tests that ran before in this process come first: the proxy keeps
/// them.
std::vector<unsigned int> last_unsubscribed(std::size_t count) {
  const auto& all = fake::gio().unsubscribed;
  return {all.end() - static_cast<long>(std::min(count, all.size())), all.end()};
}

std::vector<unsigned int> subscribed() {
  std::vector<unsigned int> ids;
  for (const auto& subscription : fake::gio().subscriptions) ids.push_back(subscription.id);
  return ids;
}

/// A floating tuple that notes in `freed` when it goes.
GVariant* tuple_that_tells(bool& freed) {
  static const char byte = 'x';
  GVariant* const bytes = g_variant_new_from_data(
      G_VARIANT_TYPE("ay"), &byte, 1, TRUE, [](gpointer flag) { *static_cast<bool*>(flag) = true; }, &freed);
  return g_variant_new_tuple(&bytes, 1);
}

TEST_F(Proxy, SubscribesTheFourSignalsInTheirOrderWhenItConnects) {
  EXPECT_EQ(proxy().connect(), 0);
  EXPECT_EQ(fake::gio().shared_connections, 1);
  std::vector<std::string> members;
  for (const auto& subscription : fake::gio().subscriptions) {
    members.push_back(subscription.member);
    EXPECT_EQ(subscription.sender, "com.velmora.message.consumer");
    EXPECT_EQ(subscription.interface, "com.velmora.message.consumer.server");
    EXPECT_EQ(subscription.object_path, "/com/velmora/message/consumer");
    EXPECT_FALSE(subscription.has_arg0);
    EXPECT_EQ(subscription.flags, G_DBUS_SIGNAL_FLAGS_NONE);
    EXPECT_EQ(subscription.user_data, &proxy());
  }
  EXPECT_THAT(members,
              ElementsAre("storage_changed", "content_changed", "groupchat_state_changed", "store_message_result"));
}

TEST_F(Proxy, DoesNotLetTheBusKillTheApplication) {
  proxy().connect();
  EXPECT_EQ(fake::gio().exit_on_close_switched_off, 1);
}

TEST_F(Proxy, KeepsTheFirstConnectionWhenItConnectsTwice) {
  EXPECT_EQ(proxy().connect(), 0);
  EXPECT_EQ(proxy().connect(), 0);
  EXPECT_EQ(fake::gio().shared_connections, 1);
  EXPECT_THAT(fake::gio().subscriptions, SizeIs(4));
  expect_line(6, "[ERROR] dbus connection is already established!", "IPCProxy.cpp", "_openConnection");
}

TEST_F(Proxy, FailsToConnectWithoutABus) {
  fake::gio().bus_reachable = false;
  EXPECT_EQ(proxy().connect(), -4);
  expect_line(6, "[ERROR] g_bus_get_sync() failed: (no bus)", "IPCProxy.cpp", "_openConnection");
  EXPECT_EQ(proxy().callSync("read_message", nullptr, nullptr), -4);
}

TEST_F(Proxy, OpensAConnectionOfItsOwnWhenTheSharedOneIsDead) {
  fake::gio().shared_connection_is_dead = true;
  EXPECT_EQ(proxy().connect(), 0);
  EXPECT_EQ(fake::gio().own_connections, 1);
  EXPECT_EQ(fake::gio().alive_connections, 1) << "the dead one is given back";
  EXPECT_EQ(fake::gio().exit_on_close_switched_off, 1);
  EXPECT_EQ(proxy().callSync("read_message", nullptr, nullptr), 0);
}

TEST_F(Proxy, FailsToConnectWhenNeitherTheSharedNorAnOwnConnectionCanBeHad) {
  fake::gio().shared_connection_is_dead = true;
  fake::gio().own_connection_reachable = false;
  EXPECT_EQ(proxy().connect(), -4);
  EXPECT_EQ(fake::gio().alive_connections, 0);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] g_bus_get_sync() failed: (no bus at the address)"));
}

TEST_F(Proxy, GivesTheConnectionBackWhenASubscriptionFails) {
  const std::array<const char*, 4> signals = {"storage_changed", "content_changed", "groupchat_state_changed",
                                              "store_message_result"};
  for (int failing = 0; failing < 4; ++failing) {
    SCOPED_TRACE(signals[failing]);
    fake::gio().reset();
    LogCapture::instance().clear();
    fake::gio().failing_subscription = failing;
    EXPECT_EQ(proxy().connect(), -4);
    expect_line(
        6, std::string("[ERROR] g_dbus_connection_signal_subscribe() failed for signalName:(") + signals[failing] + ")",
        "IPCProxy.cpp", "_openConnection");
    EXPECT_EQ(fake::gio().alive_connections, 0);
    EXPECT_THAT(fake::gio().unsubscribed, IsEmpty()) << "the subscriptions go with the connection";
    EXPECT_EQ(proxy().callSync("read_message", nullptr, nullptr), -4) << "it is not connected";
  }
  fake::gio().reset();
  EXPECT_EQ(proxy().connect(), 0);
  proxy().disconnect();
  EXPECT_THAT(fake::gio().unsubscribed, SizeIs(4)) << "the ids of the failed attempts are forgotten";
}

TEST_F(Proxy, DisconnectsWithoutAConnectionAndStillDropsTheCallbacks) {
  static int called;
  called = 0;
  proxy().subscribe(
      EVENT_STORAGE_CHANGED, [](const char*, void*) { ++called; }, nullptr);
  LogCapture::instance().clear();
  EXPECT_EQ(proxy().disconnect(), 0);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] dbus connection is not established yet!"));
  connect();
  fake::gio().emit("storage_changed", g_variant_new("(s)", "{}"));
  EXPECT_EQ(called, 0);
}

TEST_F(Proxy, UnsubscribesAndReleasesWhenItDisconnects) {
  connect();
  const auto ids = subscribed();
  EXPECT_EQ(proxy().disconnect(), 0);
  EXPECT_EQ(last_unsubscribed(4), ids);
  EXPECT_EQ(fake::gio().alive_connections, 0);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Proxy, CallsTheServiceUnderItsNamesWithFiveSecondsToAnswer) {
  connect();
  EXPECT_EQ(proxy().callSync("read_message", g_variant_new("(ii)", 5, 1), nullptr), 0);
  ASSERT_THAT(fake::gio().calls, SizeIs(1));
  const auto& call = fake::gio().calls.front();
  EXPECT_EQ(call.bus_name, "com.velmora.message.consumer");
  EXPECT_EQ(call.object_path, "/com/velmora/message/consumer");
  EXPECT_EQ(call.interface, "com.velmora.message.consumer.server");
  EXPECT_EQ(call.method, "read_message");
  EXPECT_EQ(call.params, "(5, 1)");
  EXPECT_EQ(call.reply_type, "null");
  EXPECT_EQ(call.flags, G_DBUS_CALL_FLAGS_NONE);
  EXPECT_EQ(call.timeout_ms, 5000);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Proxy, ReturnsTheServicesStatusAsItIs) {
  connect();
  for (const int status : {0, -1, -3, -4, -1101, 5, 2147483647}) {
    fake::gio().reply_status(status);
    EXPECT_EQ(proxy().callSync("read_message", nullptr, nullptr), status);
  }
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Proxy, WritesTheFirstNumberOfAReplyWhateverItsStatus) {
  connect();
  for (const int status : {0, -5, 7}) {
    fake::gio().reply_id_and_status(42, status);
    int id = -1;
    EXPECT_EQ(proxy().callSync("send_message", nullptr, &id), status);
    EXPECT_EQ(id, 42);
  }
}

TEST_F(Proxy, LeavesParamsAloneWhenItIsNotConnected) {
  bool freed = false;
  GVariant* const params = tuple_that_tells(freed);
  EXPECT_EQ(proxy().callSync("read_message", params, nullptr), -4);
  expect_line(6, "[ERROR] dbus connection is not established yet!", "IPCProxy.cpp", "callSync");
  EXPECT_FALSE(freed);
  EXPECT_TRUE(g_variant_is_floating(params));
  g_variant_unref(g_variant_ref_sink(params));
  EXPECT_TRUE(freed);
}

TEST_F(Proxy, ReopensAConnectionThatTheBusHasClosed) {
  connect();
  const auto first_ids = subscribed();
  fake::gio().close_connections();
  EXPECT_EQ(proxy().callSync("read_message", g_variant_new("(ii)", 5, 0), nullptr), 0);
  EXPECT_EQ(last_unsubscribed(4), first_ids);
  expect_line(6, "[ERROR] dbus connection has been closed! try to open it again!", "IPCProxy.cpp",
              "_checkAndReopenConnection");
  EXPECT_THAT(fake::gio().calls, SizeIs(1));
  EXPECT_EQ(fake::gio().alive_connections, 1);
}

TEST_F(Proxy, UnsubscribesTheEightIdsOfAReopenedConnection) {
  connect();
  fake::gio().close_connections();
  proxy().callSync("read_message", nullptr, nullptr);
  const auto ids = subscribed();
  ASSERT_THAT(ids, SizeIs(8));
  fake::gio().unsubscribed.clear();
  proxy().disconnect();
  EXPECT_EQ(last_unsubscribed(8), ids) << "old and new ids alike, in their order";
}

TEST_F(Proxy, KeepsTheCallbacksOverAReopening) {
  static int called;
  called = 0;
  connect();
  proxy().subscribe(
      EVENT_STORAGE_CHANGED, [](const char*, void*) { ++called; }, nullptr);
  fake::gio().close_connections();
  proxy().callSync("read_message", nullptr, nullptr);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "{}"));
  EXPECT_EQ(called, 1);
}

TEST_F(Proxy, FreesAFloatingTupleWhenReopeningFails) {
  connect();
  fake::gio().close_connections();
  fake::gio().bus_reachable = false;
  bool freed = false;
  EXPECT_EQ(proxy().callSync("read_message", tuple_that_tells(freed), nullptr), -4);
  EXPECT_TRUE(freed);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] dbus connection has been closed! try to open it again!",
                                    "[ERROR] g_bus_get_sync() failed: (no bus)", "_openConnection() failed: (-4)",
                                    "[ERROR] _checkAndReopenConnection() failed: err(-4)"));
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(Proxy, ForgetsAllIdsWhenASubscriptionFailsDuringReopening) {
  connect();
  fake::gio().close_connections();
  fake::gio().failing_subscription = 6;  // the third of the new four
  bool freed = false;
  EXPECT_EQ(proxy().callSync("read_message", tuple_that_tells(freed), nullptr), -4);
  EXPECT_TRUE(freed);
  EXPECT_EQ(fake::gio().alive_connections, 0);
  EXPECT_THAT(errors(),
              ElementsAre("[ERROR] dbus connection has been closed! try to open it again!",
                          "[ERROR] g_dbus_connection_signal_subscribe() failed for "
                          "signalName:(groupchat_state_changed)",
                          "_openConnection() failed: (-4)", "[ERROR] _checkAndReopenConnection() failed: err(-4)"));
  fake::gio().reset();
  EXPECT_EQ(proxy().connect(), 0);
  proxy().disconnect();
  EXPECT_THAT(fake::gio().unsubscribed, SizeIs(4)) << "the old ids are forgotten with the new ones";
}

TEST_F(Proxy, LeavesACallersReferenceAloneWhenReopeningFails) {
  connect();
  fake::gio().close_connections();
  fake::gio().bus_reachable = false;
  bool freed = false;
  const Owned<GVariant, g_variant_unref> params(g_variant_ref_sink(tuple_that_tells(freed)));
  EXPECT_EQ(proxy().callSync("read_message", params.get(), nullptr), -4);
  EXPECT_FALSE(freed);
}

TEST_F(Proxy, ReportsACallThatFails) {
  connect();
  fake::gio().fail_calls("Timeout was reached");
  int id = -7;
  EXPECT_EQ(proxy().callSync("send_message", nullptr, &id), -4);
  EXPECT_EQ(id, -7);
  expect_line(6, "[ERROR] method:(send_message), error:(Timeout was reached)", "IPCProxy.cpp", "callSync");
}

TEST_F(Proxy, AnswersNoReplyWithoutAnErrorToo) {
  connect();
  fake::gio().reply = [](const fake::Call&, std::string&) -> GVariant* { return nullptr; };
  EXPECT_EQ(proxy().callSync("read_message", nullptr, nullptr), -4);
  EXPECT_THAT(errors(), IsEmpty());
}

struct Nonsense {
  const char* name;
  const char* reply;  ///< in the text form of GVariant
  bool wants_id;
  const char* complaint;
};

void PrintTo(const Nonsense& row, std::ostream* out) { *out << row.name; }

class NonsensicalReply : public ClientTest, public testing::WithParamInterface<Nonsense> {};

TEST_P(NonsensicalReply, IsLoggedLikeAFailedCallAndWritesNothing) {
  connect();
  fake::gio().reply = [](const fake::Call&, std::string&) {
    return g_variant_parse(nullptr, GetParam().reply, nullptr, nullptr, nullptr);
  };
  int id = -7;
  EXPECT_EQ(proxy().callSync("send_message", nullptr, GetParam().wants_id ? &id : nullptr), -4);
  EXPECT_EQ(id, -7);
  expect_line(6, std::string("[ERROR] method:(send_message), error:(") + GetParam().complaint + ")", "IPCProxy.cpp",
              "callSync");
}

INSTANTIATE_TEST_SUITE_P(
    Types, NonsensicalReply,
    testing::Values(Nonsense{"Nothing", "@() ()", false, "the reply is of type () instead of (i)"},
                    Nonsense{"Text", "('0',)", false, "the reply is of type (s) instead of (i)"},
                    Nonsense{"Unsigned", "(uint32 0,)", false, "the reply is of type (u) instead of (i)"},
                    Nonsense{"IdUnasked", "(1, 0)", false, "the reply is of type (ii) instead of (i)"},
                    Nonsense{"IdMissing", "(0,)", true, "the reply is of type (i) instead of (ii)"},
                    Nonsense{"TooMuch", "(1, 0, 0)", true, "the reply is of type (iii) instead of (ii)"}),
    [](const auto& row) { return row.param.name; });

// ---- Events ----

struct Received {
  std::vector<std::string> data;
};

void receive(const char* data, void* user_data) { static_cast<Received*>(user_data)->data.emplace_back(data); }
void receive_too(const char* data, void* user_data) {
  static_cast<Received*>(user_data)->data.push_back(std::string("too:") + data);
}

TEST_F(Events, ReachTheCallbackOfTheirType) {
  const std::array<std::pair<const char*, EventType>, 4> signals = {{
      {"storage_changed", EVENT_STORAGE_CHANGED},
      {"content_changed", EVENT_CONTENT_CHANGED},
      {"groupchat_state_changed", EVENT_GROUPCHAT_STATE_CHANGED},
      {"store_message_result", EVENT_STORE_MESSAGE_RESULT},
  }};
  connect();
  std::array<Received, 4> received;
  for (std::size_t i = 0; i < 4; ++i) proxy().subscribe(signals[i].second, receive, &received[i]);
  for (const auto& [name, type] : signals) fake::gio().emit(name, g_variant_new("(s)", name));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_THAT(received[i].data, ElementsAre(signals[i].first));
}

TEST_F(Events, KeepOneRecordForTheSameCallbackAndTypeWithTheFirstUserData) {
  connect();
  Received first;
  Received second;
  EXPECT_EQ(proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &first), 0);
  EXPECT_EQ(proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &second), 0);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(first.data, ElementsAre("x"));
  EXPECT_THAT(second.data, IsEmpty());
  ASSERT_THAT(notes(), SizeIs(2));
  for (const auto& note : notes()) expect_line(4, note, "IPCProxy.cpp", "subscribe");
  EXPECT_THAT(notes()[0], testing::MatchesRegex("Event:\\(0x[0-9a-f]+\\) subscribed! \\(type:1, cb:0x[0-9a-f]+\\)"));
  EXPECT_THAT(notes()[1], testing::MatchesRegex("The same event callback is already subscribed! type:\\(1\\), "
                                                "cb:\\(0x[0-9a-f]+\\)"));
}

TEST_F(Events, CallOneCallbackOncePerTypeItIsSubscribedTo) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  proxy().subscribe(EVENT_CONTENT_CHANGED, receive, &received);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "s"));
  fake::gio().emit("content_changed", g_variant_new("(s)", "c"));
  EXPECT_THAT(received.data, ElementsAre("s", "c"));
}

TEST_F(Events, CallTheCallbacksOfATypeInTheOrderOfSubscription) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive_too, &received);
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, ElementsAre("too:x", "x"));
}

TEST_F(Events, MayBeSubscribedBeforeConnecting) {
  Received received;
  EXPECT_EQ(proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received), 0);
  connect();
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, ElementsAre("x"));
}

TEST_F(Events, OfATypeThatDoesNotExistMayBeSubscribedAndNeverCome) {
  connect();
  Received received;
  EXPECT_EQ(proxy().subscribe(static_cast<EventType>(0), receive, &received), 0);
  EXPECT_EQ(proxy().subscribe(static_cast<EventType>(5), receive, &received), 0);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  fake::gio().emit("store_message_result", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, IsEmpty());
  EXPECT_EQ(proxy().unsubscribe(static_cast<EventType>(5), receive), 0);
}

TEST_F(Events, NeedACallback) {
  EXPECT_EQ(proxy().subscribe(EVENT_STORAGE_CHANGED, nullptr, nullptr), -3);
  expect_line(6, "[ERROR] Invalid param: cb is nullptr!", "IPCProxy.cpp", "subscribe");
}

TEST_F(Events, StopAfterUnsubscribing) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive_too, &received);
  EXPECT_EQ(proxy().unsubscribe(EVENT_STORAGE_CHANGED, receive), 0);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, ElementsAre("too:x"));
}

TEST_F(Events, CannotBeUnsubscribedFromAnotherType) {
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, nullptr);
  EXPECT_EQ(proxy().unsubscribe(EVENT_CONTENT_CHANGED, receive), -1);
  ASSERT_THAT(traces(), SizeIs(1));
  expect_line(5, traces()[0], "IPCProxy.cpp", "unsubscribe");
  EXPECT_THAT(traces()[0], testing::MatchesRegex("No event callback subscribed! \\(type:2, cb:0x[0-9a-f]+\\)"));
}

TEST_F(Events, DoNotArriveAfterDisconnecting) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  proxy().disconnect();
  fake::gio().emit("storage_changed", g_variant_new("(s)", "late"));
  EXPECT_THAT(received.data, IsEmpty());
}

TEST_F(Events, OfAnUnknownNameAreDropped) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  LogCapture::instance().clear();
  fake::gio().emit("storage_changed2", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, IsEmpty());
  expect_line(6, "[ERROR] Invalid signal name: (storage_changed2)", "IPCProxy.cpp", "_signalHandler");
}

TEST_F(Events, FromAnotherInterfaceAreDropped) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  LogCapture::instance().clear();
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"), "org.example.Other");
  EXPECT_THAT(received.data, IsEmpty());
  expect_line(6, "[ERROR] Not handled signal: (org.example.Other)", "IPCProxy.cpp", "_signalHandler");
}

TEST_F(Events, WithoutANameOrAnInterfaceAreDropped) {
  connect();
  fake::gio().emit(nullptr, g_variant_new("(s)", "x"));
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"), nullptr);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] sig is nullptr!", "[ERROR] interface is nullptr!"));
}

TEST_F(Events, WhoseParametersAreNotOneTextAreDropped) {
  connect();
  Received received;
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  LogCapture::instance().clear();
  fake::gio().emit("storage_changed", g_variant_new("(i)", 1));
  fake::gio().emit("storage_changed", g_variant_new("()"));
  fake::gio().emit("storage_changed", g_variant_new("(ss)", "a", "b"));
  EXPECT_THAT(received.data, IsEmpty());
  EXPECT_THAT(errors(),
              ElementsAre("[ERROR] signal:(storage_changed), error:(the parameters are of type (i) instead of (s))",
                          "[ERROR] signal:(storage_changed), error:(the parameters are of type () instead of (s))",
                          "[ERROR] signal:(storage_changed), error:(the parameters are of type (ss) instead of (s))"));
}

TEST_F(Events, MayUnsubscribeThemselvesAndOthersDuringDispatch) {
  connect();
  static std::vector<std::string> order;
  order.clear();
  static const auto last = [](const char*, void*) { order.emplace_back("last"); };
  static const auto gone = [](const char*, void*) { order.emplace_back("gone"); };
  static void (*self)(const char*, void*) = nullptr;
  self = [](const char*, void*) {
    order.emplace_back("self");
    proxy().unsubscribe(EVENT_STORAGE_CHANGED, self);
    proxy().unsubscribe(EVENT_STORAGE_CHANGED, gone);
  };
  proxy().subscribe(EVENT_STORAGE_CHANGED, self, nullptr);
  proxy().subscribe(EVENT_STORAGE_CHANGED, gone, nullptr);
  proxy().subscribe(EVENT_STORAGE_CHANGED, last, nullptr);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(order, ElementsAre("self", "last"));
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(order, ElementsAre("self", "last", "last"));
}

TEST_F(Events, SubscribedDuringDispatchComeWithTheNextSignal) {
  connect();
  static Received received;
  received = {};
  proxy().subscribe(
      EVENT_STORAGE_CHANGED, [](const char*, void*) { proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received); },
      nullptr);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "1"));
  EXPECT_THAT(received.data, IsEmpty());
  fake::gio().emit("storage_changed", g_variant_new("(s)", "2"));
  EXPECT_THAT(received.data, ElementsAre("2"));
}

TEST_F(Events, SubscribedInTheStepOfARemovedOneAreNotMistakenForIt) {
  static Received received;
  for (const EventType type : {EVENT_STORAGE_CHANGED, EVENT_CONTENT_CHANGED}) {
    SCOPED_TRACE(type);
    received = {};
    static EventType type_of_new;
    type_of_new = type;
    connect();
    // The new record may well get the removed one's memory.
    proxy().subscribe(
        EVENT_STORAGE_CHANGED,
        [](const char*, void*) {
          proxy().unsubscribe(EVENT_STORAGE_CHANGED, receive_too);
          proxy().subscribe(type_of_new, receive, &received);
        },
        nullptr);
    proxy().subscribe(EVENT_STORAGE_CHANGED, receive_too, &received);
    fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
    EXPECT_THAT(received.data, IsEmpty());
    proxy().disconnect();
    fake::gio().reset();
  }
}

TEST_F(Events, MayDisconnectDuringDispatch) {
  connect();
  Received received;
  proxy().subscribe(
      EVENT_STORAGE_CHANGED, [](const char*, void*) { proxy().disconnect(); }, nullptr);
  proxy().subscribe(EVENT_STORAGE_CHANGED, receive, &received);
  fake::gio().emit("storage_changed", g_variant_new("(s)", "x"));
  EXPECT_THAT(received.data, IsEmpty());
}

// ---- The instance: each in a process of its own, before or after the instance is ----

TEST(ProxyInstanceDeathTest, IsMissingWhenItCannotBeAllocated) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        fake::allocator().nothrow_new_fails = true;
        const bool none = IPCProxy::getInstance() == nullptr;
        const bool refused = msg_consumer_connect() == -2 && msg_consumer_disconnect() == -2 &&
                             msg_consumer_event_subscribe(0, receive, nullptr) == -2 &&
                             msg_consumer_event_unsubscribe(0, receive) == -2;
        fake::allocator().nothrow_new_fails = false;
        const bool made_later = IPCProxy::getInstance() != nullptr;
        std::exit(none && refused && made_later ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ProxyInstanceDeathTest, IsNotHandedOutAfterTheExitHandlerDestroyedIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // Runs after the library's own exit handler, which is registered later.
        std::atexit([] {
          std::cerr << "instance:" << (IPCProxy::getInstance() == nullptr ? "none" : "dangling")
                    << " disconnect:" << msg_consumer_disconnect() << " connections:" << fake::gio().alive_connections;
        });
        fake::gio().reset();
        IPCProxy::getInstance()->connect();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "instance:none disconnect:-2 connections:0");
}

}  // namespace
