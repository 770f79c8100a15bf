// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SERVICE_TEST_HPP
#define MSG_CONSUMER_TESTS_SERVICE_TEST_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <msg-consumer-common/db.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "service/commands.hpp"
#include "service/record-values.hpp"
#include "support/environment.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::service {

class SteppedClock final : public Clock {
 public:
  std::int64_t now_ms() const override { return now; }
  std::int64_t now = 1'700'000'000'123;
};

/// A network that only remembers what it was asked for.
class SilentNetwork final : public Network {
 public:
  void send_queued() noexcept override { ++send_requests; }
  void retrieve(int message_id) override { retrieving.insert(message_id); }
  void give_up(int message_id) noexcept override { retrieving.erase(message_id); }
  bool is_retrieving(int message_id) const override { return retrieving.contains(message_id); }

  int send_requests = 0;
  std::set<int> retrieving;
};

/// The commands over a store of its own, which is read back through the store library.
class ServiceTest : public testing::Test {
 protected:
  static constexpr int UNKNOWN_ID = 4711;

  ~ServiceTest() override { db::deinit_db(); }

  Creation send(std::string_view recipients, std::string_view text = "text", int thread_id = 0) {
    return commands.send_message(submission(recipients, text, thread_id));
  }
  static Submission submission(std::string_view recipients, std::string_view text = "text", int thread_id = 0) {
    return {.type = "sms",
            .thread_id = thread_id,
            .recipients = recipients,
            .text = text,
            .file_paths = "",
            .sim_index = 1};
  }

  /// An incoming message, not read yet, as the test wants it.
  Message incoming(std::string_view sender = "+491701234567") {
    Message message;
    message.num_c = TYPE_SMS;
    message.str_d = "hello";
    message.str_p = sender;
    message.time_ms = clock.now;
    return message;
  }
  int receive(Message message) {
    StoredMessage stored{.message = std::move(message), .sender_name = ""};
    inbox.receive(stored);
    return stored.message.id;
  }
  int receive_from(std::string_view sender) { return receive(incoming(sender)); }
  int make_group(const std::vector<std::string>& members) {
    int id = 0;
    store.transact([&] { id = store.threads().make_group(members, {.chat_id = "chat-1", .title = "Friends"}); });
    return id;
  }

  /// Changes a stored message directly, into a state that no command makes.
  template <typename Edit>
  void edit(int message_id, Edit&& edit) {
    store.transact([&] {
      StoredMessage stored = store.messages().get(message_id);
      const Message before = stored.message;
      edit(stored.message);
      store.messages().update(before, stored);
    });
  }

  static Message stored(int message_id) {
    Message message;
    EXPECT_EQ(db::db_get_message(message_id, message), db::DB_OK);
    return message;
  }
  static Thread stored_thread(int thread_id) {
    Thread thread;
    EXPECT_EQ(db::db_get_thread(thread_id, thread), db::DB_OK);
    return thread;
  }
  static bool message_exists(int message_id) {
    Message message;
    return db::db_get_message(message_id, message) == db::DB_OK;
  }
  static bool thread_exists(int thread_id) {
    Thread thread;
    return db::db_get_thread(thread_id, thread) == db::DB_OK;
  }

  /// Runs SQL beside the service.
  void beside(const char* sql) const {
    const schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE);
    schema::execute(database.get(), sql);
  }
  /// From now on, no change can be committed.
  void break_the_store() const {
    beside("CREATE TRIGGER broken BEFORE INSERT ON change_log BEGIN SELECT RAISE(ABORT, 'broken'); END");
  }

  test::TempDir folder;
  std::string path = folder.file("messages.db");
  std::filesystem::path file_root = folder.path() / "files";
  test::EnvironmentVariable database_variable{"MSG_CONSUMER_DB", path};
  test::EnvironmentVariable files_variable{"MSG_CONSUMER_FILES", file_root};
  StoreWriter store{path};
  ContentFiles files{{.database = path, .files = file_root}};
  Inbox inbox{store};
  SilentNetwork network;
  SteppedClock clock;
  Phone phone;
  Commands commands{store, files, inbox, network, phone, clock};
};

inline std::string signal_of(const Outcome& outcome) {
  return outcome.announcement ? std::string(outcome.announcement->signal) + " " + outcome.announcement->body : "";
}

}  // namespace msg_consumer::service

#endif
