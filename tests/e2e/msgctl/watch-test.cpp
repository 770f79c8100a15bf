// SPDX-License-Identifier: Apache-2.0
// msgctl watch, with the real service and with one that says what the test tells it to.
#include <gio/gio.h>
#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <sstream>

#include "msgctl-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

std::vector<Json> documents_of(const std::string& text) {
  std::vector<Json> documents;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) documents.push_back(Json::parse(line));
  return documents;
}

// msgctl watch, which is connected once the object exists.
class Watcher {
 public:
  explicit Watcher(const Arguments& arguments) : _process(command_of(arguments)) {
    const auto connected = [this] { return _process.standard_error().find("watching…\n") != std::string::npos; };
    if (!wait_until(connected)) ADD_FAILURE() << "not connected: " << _process.standard_error();
  }

  Process& process() { return _process; }
  [[nodiscard]] std::string output() const { return _process.standard_output(); }

 private:
  static Arguments command_of(const Arguments& arguments) {
    Arguments command = {MSGCTL_PATH, "watch"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
  }

  Process _process;
};

TEST_F(Msgctl, WatchPrintsEachStageOfAMessage) {
  Watcher watcher({"--json", "--count", "4"});
  send("+15550100", "hi");
  EXPECT_EQ(watcher.process().wait(), 0);
  const auto events = documents_of(watcher.output());
  ASSERT_EQ(events.size(), 4U);
  const auto first_revision = events[0].at("revision").get<int>();
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].at("version"), 1);
    EXPECT_EQ(events[i].at("kind"), "event");
    EXPECT_EQ(events[i].at("signal"), "storage");
    EXPECT_EQ(events[i].at("event"), i == 0 ? "added" : "changed");
    EXPECT_EQ(events[i].at("revision"), first_revision + static_cast<int>(i));
    EXPECT_EQ(events[i].at("message_ids"), Json::array({1}));
    EXPECT_EQ(events[i].at("thread_ids"), Json::array({1}));
  }
}

TEST_F(Msgctl, WatchPrintsLinesForPeople) {
  Watcher watcher({"--count", "1"});
  send("+15550100", "hi");
  EXPECT_EQ(watcher.process().wait(), 0);
  EXPECT_THAT(watcher.output(),
              MatchesRegex("..:..:..  storage     added     revision [0-9]+  messages 1  threads 1\n"));
}

TEST_F(Msgctl, WatchWritesEventsAsTheyArrive) {
  Watcher watcher({"--json"});
  send("+15550100", "hi");
  EXPECT_TRUE(wait_until([&] { return documents_of(watcher.output()).size() >= 4; }));
  EXPECT_TRUE(watcher.process().running());
}

class EndingSignal : public Msgctl, public testing::WithParamInterface<int> {};

TEST_P(EndingSignal, EndsWatchCleanly) {
  Watcher watcher({});
  watcher.process().signal(GetParam());
  EXPECT_EQ(watcher.process().wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignal, testing::Values(SIGINT, SIGTERM));

TEST_F(Msgctl, WatchEndsWhenTimeIsUp) {
  Watcher watcher({"--timeout", "1"});
  EXPECT_EQ(watcher.process().wait(), 0);
  EXPECT_THAT(watcher.output(), IsEmpty());
}

TEST_F(Msgctl, TooFewEventsBeforeTimeIsUpAreAFailure) {
  Watcher watcher({"--timeout", "1", "--count", "3"});
  EXPECT_EQ(watcher.process().wait(), 1);
  EXPECT_THAT(watcher.process().standard_error(), HasSubstr("time is up after 0 of 3 events"));
}

TEST_F(Msgctl, WatchTellsWhenTheBusGoesAway) {
  Watcher watcher({});
  _bus.kill();
  EXPECT_EQ(watcher.process().wait(), 4);
  EXPECT_THAT(watcher.process().standard_error(), HasSubstr("the message bus went away"));
}

// A service that only emits signals.
class Announcer {
 public:
  explicit Announcer(const std::string& address)
      : _bus(g_dbus_connection_new_for_address_sync(
                 address.c_str(),
                 static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                   G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                 nullptr, nullptr, nullptr),
             g_object_unref) {
    const std::unique_ptr<GVariant, decltype(&g_variant_unref)> reply(
        g_dbus_connection_call_sync(_bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                    "RequestName", g_variant_new("(su)", "com.velmora.message.consumer", 0U), nullptr,
                                    G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr),
        g_variant_unref);
    EXPECT_TRUE(reply);
  }

  void announce(const char* signal, const std::string& data) {
    EXPECT_TRUE(g_dbus_connection_emit_signal(_bus.get(), nullptr, "/com/velmora/message/consumer",
                                              "com.velmora.message.consumer.server", signal,
                                              g_variant_new("(s)", data.c_str()), nullptr));
    EXPECT_TRUE(g_dbus_connection_flush_sync(_bus.get(), nullptr, nullptr));
  }

  void announce_revision(int revision) {
    announce("storage_changed", R"({"event":"changed","revision":)" + std::to_string(revision) +
                                    R"(,"message_ids":null,"thread_ids":[3]})");
  }

 private:
  std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> _bus;
};

class WatchWithAnnouncer : public MsgctlWithoutService {
 protected:
  void SetUp() override {
    write_file(_folder.path() / "preferences.ini", "[preferences]\nconsumer_preference_int_consumer_status=1\n");
  }
};

TEST_F(WatchWithAnnouncer, SaysWhichRevisionsItMissed) {
  Announcer announcer(_bus.address());
  Watcher watcher({"--count", "3"});
  announcer.announce_revision(7);
  announcer.announce_revision(9);
  announcer.announce_revision(13);
  EXPECT_EQ(watcher.process().wait(), 0);
  const std::string output = watcher.output();
  EXPECT_THAT(output, HasSubstr("  missed revision 8\n"));
  EXPECT_THAT(output, HasSubstr("  missed revisions 10 to 12\n"));
  EXPECT_THAT(output, HasSubstr("revision 7  messages many  threads 3\n"));
}

TEST_F(WatchWithAnnouncer, SaysWhichRevisionsItMissedInJson) {
  Announcer announcer(_bus.address());
  Watcher watcher({"--json", "--count", "2"});
  announcer.announce_revision(7);
  announcer.announce_revision(11);
  EXPECT_EQ(watcher.process().wait(), 0);
  const auto documents = documents_of(watcher.output());
  ASSERT_EQ(documents.size(), 3U);
  EXPECT_EQ(documents[0].at("message_ids"), nullptr);
  EXPECT_EQ(documents[1], Json::parse(R"({"version": 1, "kind": "missed", "first_revision": 8, "last_revision": 10})"));
  EXPECT_EQ(documents[2].at("revision"), 11);
}

TEST_F(WatchWithAnnouncer, PrintsEverySignalAndWhatItDoesNotUnderstand) {
  Announcer announcer(_bus.address());
  Watcher watcher({"--json", "--count", "4"});
  for (const char* signal : {"storage_changed", "content_changed", "groupchat_state_changed", "store_message_result"}) {
    announcer.announce(signal, "no \n JSON");
  }
  EXPECT_EQ(watcher.process().wait(), 0);
  std::vector<std::string> signals;
  for (const Json& document : documents_of(watcher.output())) {
    signals.push_back(document.at("signal"));
    EXPECT_EQ(document.at("data"), "no \n JSON");
  }
  EXPECT_THAT(signals, ElementsAre("storage", "content", "group-chat", "phone"));
}

TEST_F(WatchWithAnnouncer, EscapesWhatItDoesNotUnderstand) {
  Announcer announcer(_bus.address());
  Watcher watcher({"--count", "1"});
  announcer.announce("storage_changed", "\033[31m");
  EXPECT_EQ(watcher.process().wait(), 0);
  EXPECT_THAT(watcher.output(), HasSubstr("not understood: \\x1b[31m\n"));
}

TEST_F(WatchWithAnnouncer, EndsWhenItsReaderHasGone) {
  Announcer announcer(_bus.address());
  Process process({"sh", "-c", R"({ "$MSGCTL" watch --json; echo "status $?" >&2; } | head -n 1)"},
                  {{"MSGCTL", MSGCTL_PATH}});
  ASSERT_TRUE(wait_until([&] { return process.standard_error().find("watching…") != std::string::npos; }));
  announcer.announce_revision(1);
  ASSERT_TRUE(wait_until([&] { return !process.standard_output().empty(); }));
  // The reader leaves after its one line; an event after that finds it gone.
  EXPECT_TRUE(wait_until([&] {
    announcer.announce_revision(2);
    return process.standard_error().find("status 0") != std::string::npos;
  }));
  EXPECT_EQ(process.wait(), 0);
}

}  // namespace
}  // namespace msg_consumer::test
