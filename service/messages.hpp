// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_MESSAGES_HPP
#define MSG_CONSUMER_SERVICE_MESSAGES_HPP

#include <msg-consumer-common/Message.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/sqlite.hpp"
#include "threads.hpp"

namespace msg_consumer::service {

/// A message with what its row holds besides.
struct StoredMessage {
  Message message;
  std::string sender_name;
};

/// The messages, kept together with what depends on them: the text index and the threads' counts. All of it runs
/// inside the caller's transaction.
class Messages {
 public:
  Messages(sqlite3* database, Threads& threads);

  std::optional<StoredMessage> find(int id);
  /// Throws the refusal for a message that is not there.
  StoredMessage get(int id);
  /// The id that the next inserted message will have.
  int next_id();

  /// Stores a message under an id of its own, and gives its addresses and parts theirs.
  void insert(StoredMessage& stored);
  /// Stores a message under the ids that it has; addresses and parts without one are given theirs.
  void restore(StoredMessage& stored);
  /// Stores a change; texts that are searched, and the thread, must not change.
  void update(const Message& before, const StoredMessage& after);
  /// As `update`, for a change of texts that are searched.
  void update_with_text(const Message& before, const StoredMessage& after);
  /// Moves a message from one state of delivery to another. Returns its thread, nothing when it is not in that state.
  std::optional<int> advance_delivery(int id, int from, int to);
  /// Returns whether the thread was left without messages, and is gone as well.
  bool remove(const Message& message);

  /// Returns the ids of the messages that were not read before.
  std::vector<int> mark_thread_read(int thread_id);

  struct Removed {
    std::vector<int> message_ids;
    bool thread_is_gone;
  };
  /// Removes all messages but the locked ones, and the thread when none is left.
  Removed remove_unlocked(int thread_id);

  struct RemovedByTime {
    std::vector<int> message_ids;
    std::vector<int> thread_ids;
  };
  /// Removes all messages from before a time but the locked ones, and the threads in which none is left.
  RemovedByTime remove_older(std::int64_t time_ms);

  /// The queued messages, or those being sent: whatever `delivery` says. The oldest first.
  std::vector<int> in_flight(int delivery);

  /// Gives ids to the parts that have none yet.
  void number_contents(Message& message);

 private:
  /// Brings a thread up to date after removals; returns whether it was left without messages, and is gone as well.
  bool settle(int thread_id);
  void number_addresses(Message& message);
  int reserve_ids(std::string_view sequence, int count);
  void insert_row(const StoredMessage& stored);
  static void put_text(schema::Statement& statement, const Message& message);

  Threads& _threads;
  schema::Statement _find;
  schema::Statement _next_id;
  schema::Statement _reserve_ids;
  schema::Statement _insert;
  schema::Statement _insert_text;
  schema::Statement _update_text;
  schema::Statement _update;
  schema::Statement _advance_delivery;
  schema::Statement _remove;
  schema::Statement _unread_of_thread;
  schema::Statement _mark_thread_read;
  schema::Statement _unlocked_of_thread;
  schema::Statement _remove_unlocked;
  schema::Statement _threads_of_older;
  schema::Statement _unlocked_older;
  schema::Statement _remove_older;
  schema::Statement _any_of_thread;
  schema::Statement _in_flight;
};

}  // namespace msg_consumer::service

#endif
