// SPDX-License-Identifier: Apache-2.0
#include <sqlite3.h>

#include <csignal>

#include "transfer-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

std::vector<Json> documents_of(const std::string& text) {
  std::vector<Json> documents;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) documents.push_back(Json::parse(line));
  return documents;
}

class WatchSince : public TransferOnBus {
 protected:
  // Changes without the network's doing, so that each has its revision.
  void SetUp() override {
    ASSERT_EQ(msgctl({"import", file_of(5)}).status, 0);
    ASSERT_EQ(msgctl({"read", "1", "2", "3"}).status, 0);
  }

  // Behind the back of a service that has ended.
  void forget_changes_up_to(int revision) {
    if (const auto process = service_process()) end_process(*process, SIGTERM);
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(_folder.file("messages.db").c_str(), &database), SQLITE_OK);
    const std::string sql = "DELETE FROM change_log WHERE revision <= " + std::to_string(revision);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
};

TEST_F(WatchSince, BeginsWithWhatCameAfterARevision) {
  const Outcome run = msgctl({"watch", "--since", "2", "--count", "2", "--json"});
  EXPECT_EQ(run.status, 0) << run.err;
  const auto events = documents_of(run.out);
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].at("revision"), 3);
  EXPECT_EQ(events[0].at("signal"), "storage");
  EXPECT_EQ(events[0].at("recovered"), true);
  EXPECT_EQ(events[1].at("revision"), 4);
}

TEST_F(WatchSince, GoesOnWithEventsInOneUnbrokenRow) {
  Process watch({MSGCTL_PATH, "watch", "--since", "0", "--count", "6", "--json"});
  ASSERT_TRUE(wait_until([&] { return watch.standard_error().find("watching") != std::string::npos; }));
  ASSERT_EQ(msgctl({"read", "4", "5"}).status, 0);
  EXPECT_EQ(watch.wait(), 0) << watch.standard_error();
  const auto events = documents_of(watch.standard_output());
  ASSERT_EQ(events.size(), 6U);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(events[static_cast<std::size_t>(i)].at("revision"), i + 1);
  EXPECT_EQ(events[5].contains("recovered"), false);
}

TEST_F(WatchSince, SaysWhatIsLost) {
  forget_changes_up_to(2);
  const Outcome run = msgctl({"watch", "--since", "0", "--count", "1", "--json"});
  const auto documents = documents_of(run.out);
  ASSERT_EQ(documents.size(), 2U) << run.out << run.err;
  EXPECT_EQ(documents[0], Json::parse(R"({"version":1,"kind":"lost","first_revision":1,"last_revision":2})"));
  EXPECT_EQ(documents[1].at("revision"), 3);
}

TEST_F(WatchSince, RefusesARevisionThatIsNotThereYet) {
  const Outcome run = msgctl({"watch", "--since", "99"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("The newest is 4"));
}

TEST_F(WatchSince, CatchesUpWhenTheServiceWasStartedAgain) {
  Process watch({MSGCTL_PATH, "watch", "--count", "1", "--json"});
  ASSERT_TRUE(wait_until([&] { return watch.standard_error().find("watching") != std::string::npos; }));
  if (const auto process = service_process()) end_process(*process, SIGKILL);
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(_folder.file("messages.db").c_str(), &database), SQLITE_OK);
  // As if it had died between a change and its signal.
  EXPECT_EQ(sqlite3_exec(database,
                         "INSERT INTO change_log VALUES (5, 'content_changed', "
                         "'{\"event\":\"changed\",\"revision\":5,\"message_ids\":[1],\"thread_ids\":[1]}')",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  Caller(_bus.address()).call("org.freedesktop.DBus.Peer", "Ping", nullptr);
  EXPECT_EQ(watch.wait(), 0) << watch.standard_error();
  const auto documents = documents_of(watch.standard_output());
  ASSERT_EQ(documents.size(), 2U);
  EXPECT_EQ(documents[0].at("kind"), "missed");
  EXPECT_EQ(documents[1].at("signal"), "content");
  EXPECT_EQ(documents[1].at("recovered"), true);
}

TEST_F(WatchSince, SaysHowToGoOnWhenTheBusGoesAway) {
  Process watch({MSGCTL_PATH, "watch"});
  ASSERT_TRUE(wait_until([&] { return watch.standard_error().find("watching") != std::string::npos; }));
  _bus.kill();
  EXPECT_EQ(watch.wait(), 4);
  EXPECT_THAT(watch.standard_error(), HasSubstr("'msgctl watch --since 4' goes on from here"));
}

}  // namespace
}  // namespace msg_consumer::test
