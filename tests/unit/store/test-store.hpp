// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_TEST_STORE_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_TEST_STORE_HPP

#include <msg-consumer-common/Message.h>

#include <optional>
#include <string>
#include <vector>

#include "schema/sqlite.hpp"
#include "support/environment.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {

/// A database of its own for a test, written through the functions that the service writes with, and the place where
/// the queries look for it meanwhile.
class TestStore {
 public:
  TestStore();
  TestStore(const TestStore&) = delete;
  TestStore& operator=(const TestStore&) = delete;
  ~TestStore();

  const std::string& path() const { return _path; }

  /// The writer's connection.
  sqlite3* database() { return _database.get(); }
  void execute(const std::string& sql) { schema::execute(_database.get(), sql.c_str()); }

  /// Closes the writer's connection, so that all is in the database file itself.
  void close();

  /// Adds a thread with these participants and returns its id.
  int add_thread(const std::vector<std::string>& addresses, bool is_group = false);

  /// Adds a message and returns its id; `message.id` is ignored.
  int add_message(const Message& message, const std::string& sender_name = "");

  /// Gives a message metadata of the network store.
  void add_nms_meta(int message_id, const NmsMsgMeta& meta);

 private:
  TempDir _folder;
  std::string _path = _folder.file("messages.db");
  EnvironmentVariable _location{"MSG_CONSUMER_DB", _path};
  schema::Database _database;
};

/// A message of a thread, with a body and the values that a stored message must have.
Message make_message(int thread_id, const std::string& body, std::int64_t time_ms = 0);

}  // namespace msg_consumer::test

#endif
