// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_THREADS_HPP
#define MSG_CONSUMER_SERVICE_THREADS_HPP

#include <msg-consumer-common/Message.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// What the service needs to know of a thread to act on it.
struct ThreadInfo {
  int id;
  bool is_group;
  std::string address_key;
};

/// What a group chat brings besides its participants.
struct GroupChat {
  std::string chat_id;
  std::string title;
};

/// Each address once, in the writing that came first.
std::vector<std::string> distinct_addresses(const std::vector<std::string>& addresses);

/// The threads, with the counts and the last message that are kept with each. All of it runs inside the caller's
/// transaction.
class Threads {
 public:
  explicit Threads(sqlite3* database);

  std::optional<ThreadInfo> find(int id);
  /// Throws the refusal for a thread that is not there.
  ThreadInfo get(int id);
  /// The addresses of all participants but the device's own.
  std::vector<std::string> participants(int id);

  /// The thread with exactly these participants, made when there is none. Refused when an address is empty.
  ThreadInfo find_or_make(const std::vector<std::string>& addresses);
  /// As `find_or_make`, for a group chat. Of several the oldest is found.
  ThreadInfo find_or_make_group(const std::vector<std::string>& addresses);
  /// The group chat with this id of its own, whoever takes part in it by now.
  std::optional<ThreadInfo> find_group(std::string_view chat_id);
  /// Gives a group chat these participants and, unless it is empty, this title. Returns whether that changed anything.
  bool change_group(const ThreadInfo& thread, const std::vector<std::string>& addresses, const std::string& title);
  int make_group(const std::vector<std::string>& addresses, const GroupChat& chat);

  void message_added(const Message& message);
  void message_changed(const Message& before, const Message& after);
  void delivery_changed(int id, int message_id, int from, int to);
  /// Removes the thread with its last message; returns whether it did.
  bool message_removed(const Message& message);
  void all_read(int id);
  /// Counts anew, for changes that touch many messages of a thread at once.
  void recount(int id);
  void remove(int id);

 private:
  /// How a message counts in its thread.
  struct Tally {
    int messages = 0;
    int unread = 0;
    int drafts = 0;
    int failed = 0;

    static Tally of(const Message& message);
    Tally operator-(const Tally& other) const;
    Tally& operator+=(const Tally& other);
  };

  ThreadInfo find_or_make(const std::vector<std::string>& addresses, const GroupChat* chat);
  int make(const std::string& key, const std::vector<std::string>& addresses, const GroupChat* chat);
  void add_participant(int thread_id, const std::string& address);
  void count(int id, const Tally& difference);
  void set_counts(int id, const Tally& counts);
  void raise_last(const Message& message);
  void find_last(int id);
  bool is_last(const Message& message);
  bool is_empty(int id);

  schema::Statement _find;
  schema::Statement _find_by_key;
  schema::Statement _find_group;
  schema::Statement _participants;
  schema::Statement _drop_participants;
  schema::Statement _set_participants;
  schema::Statement _set_title;
  schema::Statement _make;
  schema::Statement _add_participant;
  schema::Statement _count;
  schema::Statement _set_counts;
  schema::Statement _raise_last;
  schema::Statement _set_last;
  schema::Statement _set_last_delivery;
  schema::Statement _is_last;
  schema::Statement _is_empty;
  schema::Statement _newest_message;
  schema::Statement _all_messages;
  schema::Statement _all_read;
  schema::Statement _remove;
};

}  // namespace msg_consumer::service

#endif
