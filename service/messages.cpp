// SPDX-License-Identifier: Apache-2.0
#include "messages.hpp"

#include <algorithm>
#include <optional>

#include "message-row.hpp"
#include "schema/row-codec.hpp"
#include "schema/text.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

#define OLDER "WHERE time_ms < ?1 AND is_locked = 0"

std::vector<int> ids_of(schema::Statement& statement) {
  const schema::ResetAtExit reset(statement);
  std::vector<int> ids;
  while (statement.step()) {
    ids.push_back(static_cast<int>(statement.integer(0)));
  }
  return ids;
}

}  // namespace

Messages::Messages(sqlite3* database, Threads& threads)
    : _threads(threads),
      _find(database, "SELECT " MESSAGE_COLUMNS " FROM message WHERE id = ?1"),
      _next_id(database, "SELECT COALESCE((SELECT seq FROM sqlite_sequence WHERE name = 'message'), 0) + 1"),
      _reserve_ids(database, "UPDATE sequence SET last = last + ?2 WHERE name = ?1 RETURNING last - ?2 + 1"),
      _insert(database, "INSERT INTO message (" MESSAGE_COLUMNS ") VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"),
      _insert_text(database, "INSERT INTO message_text (message_id, folded) VALUES (?1, ?2)"),
      _update_text(database, "UPDATE message_text SET folded = ?2 WHERE message_id = ?1"),
      _update(database,
              "UPDATE message SET delivery = ?2, time_ms = ?3, is_read = ?4, is_locked = ?5, packed = ?6 "
              "WHERE id = ?1"),
      _advance_delivery(database,
                        "UPDATE message SET delivery = ?3 WHERE id = ?1 AND delivery = ?2 RETURNING thread_id"),
      _remove(database, "DELETE FROM message WHERE id = ?1"),
      _unread_of_thread(database, "SELECT id FROM message WHERE thread_id = ?1 AND is_read = 0 ORDER BY id"),
      _mark_thread_read(database, "UPDATE message SET is_read = 1 WHERE thread_id = ?1 AND is_read = 0"),
      _unlocked_of_thread(database, "SELECT id FROM message WHERE thread_id = ?1 AND is_locked = 0 ORDER BY id"),
      _remove_unlocked(database, "DELETE FROM message WHERE thread_id = ?1 AND is_locked = 0"),
      _threads_of_older(database, "SELECT DISTINCT thread_id FROM message " OLDER " ORDER BY thread_id"),
      _unlocked_older(database, "SELECT id FROM message " OLDER " ORDER BY id"),
      _remove_older(database, "DELETE FROM message " OLDER),
      _any_of_thread(database, "SELECT 1 FROM message WHERE thread_id = ?1 LIMIT 1"),
      // The index of messages in flight is used only when its own condition stands here.
      _in_flight(database, "SELECT id FROM message WHERE delivery IN (1, 2) AND delivery = ?1 ORDER BY id") {}

std::optional<StoredMessage> Messages::find(int id) {
  const schema::ResetAtExit reset(_find);
  if (!_find.bind(1, id).step()) {
    return std::nullopt;
  }
  StoredMessage stored;
  stored.message = message_of_row(_find, &stored.sender_name);
  return stored;
}

StoredMessage Messages::get(int id) {
  std::optional<StoredMessage> stored = find(id);
  if (!stored) {
    throw Refusal(STATUS_NO_RECORD);
  }
  return *std::move(stored);
}

int Messages::next_id() {
  const schema::ResetAtExit reset(_next_id);
  _next_id.step();
  return checked_id(_next_id.integer(0));
}

void Messages::insert(StoredMessage& stored) {
  stored.message.id = next_id();
  for (Address& address : stored.message.addresses) {
    address.num_a = 0;
  }
  restore(stored);
}

void Messages::restore(StoredMessage& stored) {
  Message& message = stored.message;
  number_addresses(message);
  number_contents(message);
  insert_row(stored);
  put_text(_insert_text, message);
  _threads.message_added(message);
}

void Messages::number_addresses(Message& message) {
  const auto without_id = [](const Address& address) { return address.num_a == 0; };
  const auto count = std::count_if(message.addresses.begin(), message.addresses.end(), without_id);
  if (count == 0) {
    return;
  }
  int id = reserve_ids("message_address", static_cast<int>(count));
  for (Address& address : message.addresses) {
    if (without_id(address)) {
      address.num_a = id++;
    }
  }
}

void Messages::number_contents(Message& message) {
  const auto without_id = [](const Content& content) { return content.id == 0; };
  const auto count = std::count_if(message.contents.begin(), message.contents.end(), without_id);
  if (count == 0) {
    return;
  }
  int id = reserve_ids("content", static_cast<int>(count));
  for (Content& content : message.contents) {
    if (without_id(content)) {
      content.id = id++;
      content.num_b = message.id;
    }
  }
}

int Messages::reserve_ids(std::string_view sequence, int count) {
  const schema::ResetAtExit reset(_reserve_ids);
  if (!_reserve_ids.bind(1, sequence).bind(2, count).step()) {
    throw schema::SqliteError(SQLITE_CORRUPT, "a sequence is missing");
  }
  const std::int64_t first = _reserve_ids.integer(0);
  static_cast<void>(checked_id(first + count));
  return static_cast<int>(first);
}

void Messages::insert_row(const StoredMessage& stored) {
  const Message& message = stored.message;
  const std::string packed = schema::pack_message(message, stored.sender_name);
  _insert.bind(1, message.id)
      .bind(2, message.num_b)
      .bind(3, message.num_c)
      .bind(4, message.num_f)
      .bind(5, message.time_ms)
      .bind(6, message.flag_j)
      .bind(7, message.flag_k)
      .bind_blob(8, packed)
      .run();
}

void Messages::put_text(schema::Statement& statement, const Message& message) {
  const std::optional<std::string> text = schema::searchable_text(message);
  if (!text) {
    throw Refusal(STATUS_INVALID_ARGUMENT);
  }
  statement.bind(1, message.id).bind(2, *text).run();
}

void Messages::update(const Message& before, const StoredMessage& after) {
  const Message& message = after.message;
  const std::string packed = schema::pack_message(message, after.sender_name);
  _update.bind(1, message.id)
      .bind(2, message.num_f)
      .bind(3, message.time_ms)
      .bind(4, message.flag_j)
      .bind(5, message.flag_k)
      .bind_blob(6, packed)
      .run();
  _threads.message_changed(before, message);
}

void Messages::update_with_text(const Message& before, const StoredMessage& after) {
  update(before, after);
  put_text(_update_text, after.message);
}

std::optional<int> Messages::advance_delivery(int id, int from, int to) {
  const schema::ResetAtExit reset(_advance_delivery);
  if (!_advance_delivery.bind(1, id).bind(2, from).bind(3, to).step()) {
    return std::nullopt;
  }
  const int thread_id = static_cast<int>(_advance_delivery.integer(0));
  _threads.delivery_changed(thread_id, id, from, to);
  return thread_id;
}

bool Messages::remove(const Message& message) {
  _remove.bind(1, message.id).run();
  return _threads.message_removed(message);
}

std::vector<int> Messages::mark_thread_read(int thread_id) {
  std::vector<int> ids = ids_of(_unread_of_thread.bind(1, thread_id));
  if (!ids.empty()) {
    _mark_thread_read.bind(1, thread_id).run();
    _threads.all_read(thread_id);
  }
  return ids;
}

Messages::Removed Messages::remove_unlocked(int thread_id) {
  Removed removed{.message_ids = ids_of(_unlocked_of_thread.bind(1, thread_id)), .thread_is_gone = false};
  _remove_unlocked.bind(1, thread_id).run();
  removed.thread_is_gone = settle(thread_id);
  return removed;
}

Messages::RemovedByTime Messages::remove_older(std::int64_t time_ms) {
  RemovedByTime removed{.message_ids = ids_of(_unlocked_older.bind(1, time_ms)),
                        .thread_ids = ids_of(_threads_of_older.bind(1, time_ms))};
  _remove_older.bind(1, time_ms).run();
  for (const int thread_id : removed.thread_ids) {
    settle(thread_id);
  }
  return removed;
}

bool Messages::settle(int thread_id) {
  if (ids_of(_any_of_thread.bind(1, thread_id)).empty()) {
    _threads.remove(thread_id);
    return true;
  }
  _threads.recount(thread_id);
  return false;
}

std::vector<int> Messages::in_flight(int delivery) { return ids_of(_in_flight.bind(1, delivery)); }

}  // namespace msg_consumer::service
