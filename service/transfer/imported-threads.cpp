// SPDX-License-Identifier: Apache-2.0
#include "imported-threads.hpp"

#include "../message-row.hpp"
#include "schema/address.hpp"

namespace msg_consumer::service::transfer {
namespace {

// As the service makes it: of the others, or of everybody where all are the device's own. A thread that has nobody is
// damaged, and yet better than none.
std::string key_of(const ThreadRecord& thread) {
  std::vector<std::string> others;
  std::vector<std::string> all;
  for (const Address& address : thread.participants) {
    all.push_back(address.address);
    if (address.flag_e == 0) {
      others.push_back(address.address);
    }
  }
  return schema::address_key(others.empty() ? all : others).value_or("");
}

}  // namespace

ImportedThreads::ImportedThreads(sqlite3* database)
    : _find_by_key(database, "SELECT id FROM thread WHERE address_key = ?1 AND is_group = 0"),
      _groups(database, "SELECT id, group_chat_id, address_key, title FROM thread WHERE is_group = 1 ORDER BY id DESC"),
      _thread_exists(database, "SELECT 1 FROM thread WHERE id = ?1"),
      _participant_exists(database, "SELECT 1 FROM thread_address WHERE id = ?1"),
      _insert(database,
              "INSERT INTO thread (id, address_key, is_group, group_chat_id, title, participant_count) "
              "VALUES (?1, ?2, ?3, ?4, ?5, ?6) RETURNING id"),
      _insert_participant(
          database, "INSERT INTO thread_address (id, thread_id, kind, address, is_own) VALUES (?1, ?2, ?3, ?4, ?5)") {}

bool ImportedThreads::declare(ThreadRecord thread) {
  const int id = thread.id;
  return _declared.emplace(id, Declared{.record = std::move(thread)}).second;
}

int ImportedThreads::store_id(int file_id, bool keep_ids) {
  Declared& declared = _declared.at(file_id);
  if (declared.store_id == 0) {
    const std::string key = key_of(declared.record);
    const std::optional<int> found = find(declared.record, key);
    declared.store_id = found ? *found : make(declared.record, key, keep_ids);
    ++(found ? _found : _made);
  }
  return declared.store_id;
}

std::vector<int> ImportedThreads::waiting() const {
  std::vector<int> ids;
  for (const auto& [id, declared] : _declared) {
    if (declared.store_id == 0) {
      ids.push_back(id);
    }
  }
  return ids;
}

std::optional<int> ImportedThreads::find(const ThreadRecord& thread, const std::string& key) {
  if (thread.is_group) {
    return take_group(thread, key);
  }
  const schema::ResetAtExit reset(_find_by_key);
  return _find_by_key.bind(1, key).step() ? std::optional(static_cast<int>(_find_by_key.integer(0))) : std::nullopt;
}

// Two group chats may have all in common, so each of the store's stands for one of the file's at most.
std::optional<int> ImportedThreads::take_group(const ThreadRecord& thread, const std::string& key) {
  read_groups();
  if (!thread.chat_id.empty()) {
    const auto found = _by_chat_id.find(thread.chat_id);
    return found != _by_chat_id.end() ? std::optional(found->second) : std::nullopt;
  }
  const auto found = _by_key_and_title.find({key, thread.title});
  if (found == _by_key_and_title.end() || found->second.empty()) {
    return std::nullopt;
  }
  const int id = found->second.back();
  found->second.pop_back();
  return id;
}

// All at once: there is no index on what they are found by.
void ImportedThreads::read_groups() {
  if (_groups_are_read) {
    return;
  }
  const schema::ResetAtExit reset(_groups);
  while (_groups.step()) {
    const int id = static_cast<int>(_groups.integer(0));
    const std::string chat_id(_groups.text(1));
    if (chat_id.empty()) {
      _by_key_and_title[{std::string(_groups.text(2)), std::string(_groups.text(3))}].push_back(id);
    } else {
      _by_chat_id[chat_id] = id;
    }
  }
  _groups_are_read = true;
}

int ImportedThreads::make(const ThreadRecord& thread, const std::string& key, bool keep_ids) {
  const schema::ResetAtExit reset(_insert);
  const bool keeps_id = keep_ids && !exists(_thread_exists, thread.id);
  keeps_id ? _insert.bind(1, thread.id) : _insert.bind_null(1);
  _insert.bind(2, key)
      .bind(3, thread.is_group ? 1 : 0)
      .bind(4, thread.chat_id)
      .bind(5, thread.title)
      .bind(6, static_cast<std::int64_t>(thread.participants.size()));
  _insert.step();
  const int id = checked_id(_insert.integer(0));
  for (const Address& address : thread.participants) {
    const bool keeps = keep_ids && address.num_a > 0 && !exists(_participant_exists, address.num_a);
    keeps ? _insert_participant.bind(1, address.num_a) : _insert_participant.bind_null(1);
    _insert_participant.bind(2, id).bind(3, address.num_b).bind(4, address.address).bind(5, address.flag_e).run();
  }
  if (thread.is_group && !thread.chat_id.empty()) {
    _by_chat_id[thread.chat_id] = id;
  }
  return id;
}

bool ImportedThreads::exists(schema::Statement& statement, int id) {
  const schema::ResetAtExit reset(statement);
  return statement.bind(1, id).step();
}

}  // namespace msg_consumer::service::transfer
