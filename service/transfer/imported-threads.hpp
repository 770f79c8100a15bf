// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_IMPORTED_THREADS_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_IMPORTED_THREADS_HPP

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "records.hpp"
#include "schema/sqlite.hpp"

namespace msg_consumer::service::transfer {

/// The threads of a file, and the store's threads that stand for them: found, or made when the first message needs
/// one. A group chat is found by its id or, without one, by participants and title.
class ImportedThreads {
 public:
  explicit ImportedThreads(sqlite3* database);

  /// Returns whether the file had no thread with this id before.
  bool declare(ThreadRecord thread);
  bool knows(int file_id) const { return _declared.contains(file_id); }
  const std::string& chat_id(int file_id) const { return _declared.at(file_id).record.chat_id; }

  /// The store's thread, inside a transaction. `keep_ids` has a new one keep the file's ids where they are free.
  int store_id(int file_id, bool keep_ids);
  /// Threads without messages, which nobody has asked for.
  std::vector<int> waiting() const;

  int made() const { return _made; }
  int found() const { return _found; }

 private:
  struct Declared {
    ThreadRecord record;
    int store_id = 0;
  };

  void read_groups();
  std::optional<int> find(const ThreadRecord& thread, const std::string& key);
  std::optional<int> take_group(const ThreadRecord& thread, const std::string& key);
  int make(const ThreadRecord& thread, const std::string& key, bool keep_ids);
  bool exists(schema::Statement& statement, int id);

  schema::Statement _find_by_key;
  schema::Statement _groups;
  schema::Statement _thread_exists;
  schema::Statement _participant_exists;
  schema::Statement _insert;
  schema::Statement _insert_participant;
  std::map<int, Declared> _declared;
  bool _groups_are_read = false;
  std::map<std::string, int> _by_chat_id;
  std::map<std::pair<std::string, std::string>, std::vector<int>> _by_key_and_title;
  int _made = 0;
  int _found = 0;
};

}  // namespace msg_consumer::service::transfer

#endif
