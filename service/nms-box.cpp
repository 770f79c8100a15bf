// SPDX-License-Identifier: Apache-2.0
#include "nms-box.hpp"

#include "status.hpp"

namespace msg_consumer::service {
namespace {

#define META_COLUMNS                                                                              \
  "(message_id, object_id, correlation_id, folder_path, resource_url, modified_ms, notified_ms, " \
  "sync_state, download_state, is_seen, is_deleted, is_correlated)"
#define META_VALUES "(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12)"
// A row that holds these values already is passed over, and not returned.
#define SET_META "SET " META_COLUMNS " = " META_VALUES " WHERE " META_COLUMNS " IS NOT " META_VALUES

schema::Statement& bind_meta(schema::Statement& statement, const NmsMsgMeta& meta) {
  return statement.bind(1, meta.msgId)
      .bind(2, meta.metaStr1)
      .bind(3, meta.metaStr2)
      .bind(4, meta.metaStr3)
      .bind(5, meta.metaStr4)
      .bind(6, meta.metaInt64_1)
      .bind(7, meta.metaInt64_2)
      .bind(8, meta.metaInt1)
      .bind(9, meta.metaInt2)
      .bind(10, meta.metaFlag1)
      .bind(11, meta.metaFlag2)
      .bind(12, meta.metaFlag3);
}

/// Runs a statement that returns the message id of each row that it touches.
std::optional<std::set<int>> touched_messages(schema::Statement& statement) {
  const schema::ResetAtExit reset(statement);
  std::optional<std::set<int>> ids;
  while (statement.step()) {
    if (!ids) {
      ids.emplace();
    }
    if (const auto id = static_cast<int>(statement.integer(0)); id > 0) {
      ids->insert(id);
    }
  }
  return ids;
}

bool touches_a_row(schema::Statement& statement) {
  const schema::ResetAtExit reset(statement);
  return statement.step();
}

}  // namespace

NmsBox::NmsBox(sqlite3* database)
    : _find(database, "SELECT id, message_id, object_id FROM nms_meta WHERE message_id = ?1 AND object_id = ?2"),
      _find_of_message(database,
                       "SELECT id, message_id, object_id FROM nms_meta WHERE message_id = ?1 ORDER BY id LIMIT 1"),
      _find_of_object(database,
                      "SELECT id, message_id, object_id FROM nms_meta WHERE object_id = ?1 ORDER BY id LIMIT 1"),
      _put(database, "INSERT INTO nms_meta " META_COLUMNS " VALUES " META_VALUES
                     " ON CONFLICT (message_id, object_id) DO UPDATE " SET_META " RETURNING id"),
      _replace(database, "UPDATE nms_meta " SET_META " AND id = ?13 RETURNING id"),
      _remove(database, "DELETE FROM nms_meta WHERE id = ?1"),
      _remove_invalid(database,
                      "DELETE FROM nms_meta WHERE (message_id > 0 AND message_id NOT IN (SELECT id FROM message)) "
                      "OR (message_id < 1 AND object_id = '') RETURNING message_id"),
      _remove_all(database, "DELETE FROM nms_meta RETURNING message_id"),
      _show_first(database,
                  "UPDATE message SET nms_meta_id = (SELECT MIN(id) FROM nms_meta WHERE message_id = ?1) "
                  "WHERE id = ?1"),
      _subscribe(database,
                 "INSERT INTO nms_subscription (id, noti_index, restart_token) VALUES (1, ?1, ?2) "
                 "ON CONFLICT (id) DO UPDATE SET (noti_index, restart_token) = (?1, ?2) "
                 "WHERE (noti_index, restart_token) IS NOT (?1, ?2) RETURNING id"),
      _unsubscribe(database, "DELETE FROM nms_subscription RETURNING id") {}

schema::Statement& NmsBox::find_statement(int message_id, std::string_view object_id) {
  require(message_id > 0 || !object_id.empty(), STATUS_INVALID_ARGUMENT);
  if (object_id.empty()) {
    return _find_of_message.bind(1, message_id);
  }
  return message_id > 0 ? _find.bind(1, message_id).bind(2, object_id) : _find_of_object.bind(1, object_id);
}

std::optional<NmsBox::Place> NmsBox::find(int message_id, std::string_view object_id) {
  schema::Statement& statement = find_statement(message_id, object_id);
  const schema::ResetAtExit reset(statement);
  if (!statement.step()) {
    return std::nullopt;
  }
  return Place{.row = statement.integer(0),
               .message_id = static_cast<int>(statement.integer(1)),
               .object_id = std::string(statement.text(2))};
}

NmsBox::Place NmsBox::get(int message_id, std::string_view object_id) {
  std::optional<Place> place = find(message_id, object_id);
  require(place.has_value(), STATUS_NO_RECORD);
  return *std::move(place);
}

bool NmsBox::put(const NmsMsgMeta& meta) {
  const bool changed = touches_a_row(bind_meta(_put, meta));
  show_first_of(meta.msgId);
  return changed;
}

bool NmsBox::replace(const Place& place, const NmsMsgMeta& meta) {
  require(!is_another(place, meta), STATUS_INVALID_ARGUMENT);
  const bool changed = touches_a_row(bind_meta(_replace, meta).bind(13, place.row));
  show_first_of(place.message_id);
  show_first_of(meta.msgId);
  return changed;
}

bool NmsBox::is_another(const Place& place, const NmsMsgMeta& meta) {
  const schema::ResetAtExit reset(_find);
  return _find.bind(1, meta.msgId).bind(2, meta.metaStr1).step() && _find.integer(0) != place.row;
}

void NmsBox::remove(const Place& place) {
  _remove.bind(1, place.row).run();
  show_first_of(place.message_id);
}

std::optional<std::set<int>> NmsBox::remove_invalid() { return touched_messages(_remove_invalid); }

std::optional<std::set<int>> NmsBox::reset() {
  const bool subscribed = touches_a_row(_unsubscribe);
  std::optional<std::set<int>> ids = touched_messages(_remove_all);
  return subscribed && !ids ? std::set<int>() : std::move(ids);
}

bool NmsBox::subscribe(std::uint64_t notification_index, std::string_view restart_token) {
  // SQLite knows signed numbers only: the same 64 bits are kept.
  return touches_a_row(_subscribe.bind(1, static_cast<std::int64_t>(notification_index)).bind(2, restart_token));
}

void NmsBox::show_first_of(int message_id) { _show_first.bind(1, message_id).run(); }

}  // namespace msg_consumer::service
