// SPDX-License-Identifier: Apache-2.0
#include "threads.hpp"

#include <cstdint>
#include <set>

#include "message-row.hpp"
#include "record-values.hpp"
#include "schema/address.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

#define LAST_COLUMNS                                                                               \
  "last_message_id = ?2, last_type = ?3, last_direction = ?4, last_sim = ?5, last_delivery = ?6, " \
  "last_time_ms = ?7, last_text = ?8"

std::string joined(const std::vector<std::string>& addresses) {
  std::string text;
  for (const std::string& address : addresses) {
    text += text.empty() ? address : ", " + address;
  }
  return text;
}

void set_last(schema::Statement& statement, const Message& message) {
  statement.bind(1, message.num_b)
      .bind(2, message.id)
      .bind(3, message.num_c)
      .bind(4, message.num_e)
      .bind(5, message.num_h)
      .bind(6, message.num_f)
      .bind(7, message.time_ms)
      .bind(8, message.str_d)
      .run();
}

}  // namespace

std::vector<std::string> distinct_addresses(const std::vector<std::string>& addresses) {
  std::vector<std::string> result;
  std::set<std::string> seen;
  for (const std::string& address : addresses) {
    if (seen.insert(schema::normalise_address(address)).second) {
      result.push_back(address);
    }
  }
  return result;
}

Threads::Threads(sqlite3* database)
    : _find(database, "SELECT is_group, address_key FROM thread WHERE id = ?1"),
      _find_by_key(database, "SELECT id FROM thread WHERE address_key = ?1 AND is_group = ?2 ORDER BY id LIMIT 1"),
      _find_group(database,
                  "SELECT id, address_key FROM thread WHERE is_group = 1 AND group_chat_id = ?1 ORDER BY id LIMIT 1"),
      _participants(database, "SELECT address FROM thread_address WHERE thread_id = ?1 AND is_own = 0 ORDER BY id"),
      _drop_participants(database, "DELETE FROM thread_address WHERE thread_id = ?1 AND is_own = 0"),
      _set_participants(database, "UPDATE thread SET address_key = ?2, participant_count = ?3 WHERE id = ?1"),
      _set_title(database, "UPDATE thread SET title = ?2 WHERE id = ?1 AND title <> ?2 RETURNING id"),
      _make(database,
            "INSERT INTO thread (address_key, is_group, group_chat_id, title, participant_count) "
            "VALUES (?1, ?2, ?3, ?4, ?5) RETURNING id"),
      _add_participant(database, "INSERT INTO thread_address (thread_id, kind, address) VALUES (?1, ?2, ?3)"),
      _count(database,
             "UPDATE thread SET message_count = message_count + ?2, unread_count = unread_count + ?3, "
             "draft_count = draft_count + ?4, failed_count = failed_count + ?5 WHERE id = ?1"),
      _set_counts(database,
                  "UPDATE thread SET message_count = ?2, unread_count = ?3, draft_count = ?4, failed_count = ?5 "
                  "WHERE id = ?1"),
      _raise_last(database, "UPDATE thread SET " LAST_COLUMNS
                            " WHERE id = ?1 AND (last_message_id = 0 OR (last_time_ms, last_message_id) <= (?7, ?2))"),
      _set_last(database, "UPDATE thread SET " LAST_COLUMNS " WHERE id = ?1"),
      _set_last_delivery(database, "UPDATE thread SET last_delivery = ?3 WHERE id = ?1 AND last_message_id = ?2"),
      _is_last(database, "SELECT 1 FROM thread WHERE id = ?1 AND last_message_id = ?2"),
      _is_empty(database, "SELECT 1 FROM thread WHERE id = ?1 AND message_count = 0"),
      _newest_message(database, "SELECT " MESSAGE_COLUMNS
                                " FROM message WHERE thread_id = ?1 ORDER BY time_ms DESC, id DESC "
                                "LIMIT 1"),
      _all_messages(database, "SELECT " MESSAGE_COLUMNS " FROM message WHERE thread_id = ?1"),
      _all_read(database, "UPDATE thread SET unread_count = 0 WHERE id = ?1"),
      _remove(database, "DELETE FROM thread WHERE id = ?1") {}

std::optional<ThreadInfo> Threads::find(int id) {
  const schema::ResetAtExit reset(_find);
  if (!_find.bind(1, id).step()) {
    return std::nullopt;
  }
  return ThreadInfo{.id = id, .is_group = _find.integer(0) != 0, .address_key = std::string(_find.text(1))};
}

ThreadInfo Threads::get(int id) {
  std::optional<ThreadInfo> thread = find(id);
  if (!thread) {
    throw Refusal(STATUS_NO_RECORD);
  }
  return *std::move(thread);
}

std::vector<std::string> Threads::participants(int id) {
  const schema::ResetAtExit reset(_participants);
  _participants.bind(1, id);
  std::vector<std::string> addresses;
  while (_participants.step()) {
    addresses.emplace_back(_participants.text(0));
  }
  return addresses;
}

ThreadInfo Threads::find_or_make(const std::vector<std::string>& addresses) { return find_or_make(addresses, nullptr); }

ThreadInfo Threads::find_or_make_group(const std::vector<std::string>& addresses) {
  const GroupChat unnamed;
  return find_or_make(addresses, &unnamed);
}

ThreadInfo Threads::find_or_make(const std::vector<std::string>& addresses, const GroupChat* chat) {
  std::optional<std::string> key = schema::address_key(addresses);
  if (!key) {
    throw Refusal(STATUS_INVALID_ARGUMENT);
  }
  const schema::ResetAtExit reset(_find_by_key);
  const bool is_group = chat != nullptr;
  const bool found = _find_by_key.bind(1, *key).bind(2, is_group).step();
  const int id = found ? static_cast<int>(_find_by_key.integer(0)) : make(*key, addresses, chat);
  return {.id = id, .is_group = is_group, .address_key = *std::move(key)};
}

std::optional<ThreadInfo> Threads::find_group(std::string_view chat_id) {
  const schema::ResetAtExit reset(_find_group);
  if (!_find_group.bind(1, chat_id).step()) {
    return std::nullopt;
  }
  return ThreadInfo{.id = static_cast<int>(_find_group.integer(0)),
                    .is_group = true,
                    .address_key = std::string(_find_group.text(1))};
}

bool Threads::change_group(const ThreadInfo& thread, const std::vector<std::string>& addresses,
                           const std::string& title) {
  const schema::ResetAtExit reset(_set_title);
  bool is_changed = !title.empty() && _set_title.bind(1, thread.id).bind(2, title).step();
  const std::optional<std::string> key = schema::address_key(addresses);
  if (!key) {
    throw Refusal(STATUS_INVALID_ARGUMENT);
  }
  if (*key != thread.address_key) {
    const std::vector<std::string> members = distinct_addresses(addresses);
    _drop_participants.bind(1, thread.id).run();
    for (const std::string& address : members) {
      add_participant(thread.id, address);
    }
    _set_participants.bind(1, thread.id).bind(2, *key).bind(3, static_cast<std::int64_t>(members.size())).run();
    is_changed = true;
  }
  return is_changed;
}

int Threads::make_group(const std::vector<std::string>& addresses, const GroupChat& chat) {
  const std::optional<std::string> key = schema::address_key(addresses);
  if (!key) {
    throw Refusal(STATUS_INVALID_ARGUMENT);
  }
  return make(*key, addresses, &chat);
}

int Threads::make(const std::string& key, const std::vector<std::string>& addresses, const GroupChat* chat) {
  const std::vector<std::string> members = distinct_addresses(addresses);
  const std::string title = chat != nullptr && !chat->title.empty() ? chat->title : joined(members);
  const schema::ResetAtExit reset(_make);
  _make.bind(1, key)
      .bind(2, chat != nullptr ? 1 : 0)
      .bind(3, chat != nullptr ? std::string_view(chat->chat_id) : std::string_view())
      .bind(4, title)
      .bind(5, static_cast<std::int64_t>(members.size()));
  _make.step();
  const int id = checked_id(_make.integer(0));
  for (const std::string& address : members) {
    add_participant(id, address);
  }
  return id;
}

void Threads::add_participant(int thread_id, const std::string& address) {
  _add_participant.bind(1, thread_id).bind(2, schema::address_kind(address)).bind(3, address).run();
}

Threads::Tally Threads::Tally::of(const Message& message) {
  return {.messages = 1,
          .unread = message.flag_j != 0 ? 0 : 1,
          .drafts = message.num_e == DIRECTION_DRAFT ? 1 : 0,
          .failed = message.num_f == DELIVERY_FAILED ? 1 : 0};
}

Threads::Tally Threads::Tally::operator-(const Tally& other) const {
  return {.messages = messages - other.messages,
          .unread = unread - other.unread,
          .drafts = drafts - other.drafts,
          .failed = failed - other.failed};
}

Threads::Tally& Threads::Tally::operator+=(const Tally& other) {
  messages += other.messages;
  unread += other.unread;
  drafts += other.drafts;
  failed += other.failed;
  return *this;
}

void Threads::message_added(const Message& message) {
  count(message.num_b, Tally::of(message));
  raise_last(message);
}

void Threads::message_changed(const Message& before, const Message& after) {
  count(after.num_b, Tally::of(after) - Tally::of(before));
  // The clock may have been set back, and then another message may be the newest now.
  if (after.time_ms < before.time_ms && is_last(before)) {
    find_last(after.num_b);
  } else {
    raise_last(after);
  }
}

void Threads::delivery_changed(int id, int message_id, int from, int to) {
  const int failed = (to == DELIVERY_FAILED ? 1 : 0) - (from == DELIVERY_FAILED ? 1 : 0);
  if (failed != 0) {
    count(id, {.failed = failed});
  }
  _set_last_delivery.bind(1, id).bind(2, message_id).bind(3, to).run();
}

bool Threads::message_removed(const Message& message) {
  count(message.num_b, Tally() - Tally::of(message));
  if (is_empty(message.num_b)) {
    remove(message.num_b);
    return true;
  }
  if (is_last(message)) {
    find_last(message.num_b);
  }
  return false;
}

void Threads::all_read(int id) { _all_read.bind(1, id).run(); }

void Threads::recount(int id) {
  Tally counts;
  {
    const schema::ResetAtExit reset(_all_messages);
    _all_messages.bind(1, id);
    while (_all_messages.step()) {
      counts += Tally::of(message_or_columns_of_row(_all_messages));
    }
  }
  set_counts(id, counts);
  find_last(id);
}

void Threads::remove(int id) { _remove.bind(1, id).run(); }

void Threads::count(int id, const Tally& difference) {
  _count.bind(1, id)
      .bind(2, difference.messages)
      .bind(3, difference.unread)
      .bind(4, difference.drafts)
      .bind(5, difference.failed)
      .run();
}

void Threads::set_counts(int id, const Tally& counts) {
  _set_counts.bind(1, id)
      .bind(2, counts.messages)
      .bind(3, counts.unread)
      .bind(4, counts.drafts)
      .bind(5, counts.failed)
      .run();
}

void Threads::raise_last(const Message& message) { set_last(_raise_last, message); }

void Threads::find_last(int id) {
  const schema::ResetAtExit reset(_newest_message);
  if (_newest_message.bind(1, id).step()) {
    set_last(_set_last, message_or_columns_of_row(_newest_message));
  }
}

bool Threads::is_last(const Message& message) {
  const schema::ResetAtExit reset(_is_last);
  return _is_last.bind(1, message.num_b).bind(2, message.id).step();
}

bool Threads::is_empty(int id) {
  const schema::ResetAtExit reset(_is_empty);
  return _is_empty.bind(1, id).step();
}

}  // namespace msg_consumer::service
