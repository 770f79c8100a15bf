// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_ALLOCATION_SERVICE_WORLD_HPP
#define MSG_CONSUMER_TESTS_ALLOCATION_SERVICE_WORLD_HPP

#include <set>
#include <string>

#include "unit/service/service-test.hpp"

namespace msg_consumer::service {

/// A service with a little of everything in its store, and a look at it from beside.
class World final : public ServiceTest {
 public:
  World();
  void TestBody() override {}

  /// All rows of all tables.
  [[nodiscard]] std::string content() const;
  /// The database's files, the attachments and what callers were given.
  [[nodiscard]] std::set<std::string> files_kept() const;
  /// Whether an incoming message of the thread's participant is read at once.
  bool is_active(std::string_view participant) { return stored(receive_from(participant)).flag_j != 0; }
  void expect_whole();

  using ServiceTest::commands;
  using ServiceTest::folder;
  using ServiceTest::network;
  using ServiceTest::receive_from;

  static constexpr std::string_view FRIEND = "a friend with a long name@example.org";
  static constexpr std::string_view STRANGER = "a stranger with a long name@example.org";
  static constexpr const char* OBJECT = "an object of the network store, the first";

  std::string attachment = folder.file("an attachment with a name that is long");
  std::string target = folder.file("a copy of the attachment for the caller");
  int unread = 0;
  int draft = 0;
  int failed = 0;
  int blocked = 0;
  int notified = 0;
  int thread = 0;
  int group = 0;
  std::vector<int> threads;
  std::string message_record;
  std::string meta_record;

 private:
  void make_messages();
  void make_metadata();

  test::EnvironmentVariable _silence{"MSG_CONSUMER_LOG_LEVEL", "7"};
  schema::Database _beside;
};

}  // namespace msg_consumer::service

#endif
