// SPDX-License-Identifier: Apache-2.0
#include "list-query.hpp"

#include <type_traits>
#include <utility>

#include "connection.hpp"
#include "queries.hpp"
#include "schema/text.hpp"

namespace msg_consumer::db {
namespace {

// The index holds runs of this many characters: it finds nothing for shorter keywords.
constexpr std::size_t MIN_INDEXED_LENGTH = 3;

constexpr const char* WITH_NMS_META = " LEFT JOIN nms_meta AS n ON n.id = m.nms_meta_id";

bool is_limited(const ListCondition& condition) { return condition.num_a > 0 || condition.num_b > 0; }

std::string valid_keyword(const ListCondition& condition) {
  if (condition.num_a < 0 || condition.num_b < 0) {
    throw InvalidArgument("a list's offset and limit must not be negative");
  }
  auto folded = schema::fold(condition.keyword);
  if (!folded) throw InvalidArgument("the keyword is not UTF-8 text");
  return *std::move(folded);
}

/// One phrase of the search language, whatever the characters.
std::string as_phrase(const std::string& keyword) {
  std::string phrase = "\"";
  for (const char c : keyword) phrase.append(c == '"' ? 2 : 1, c);
  return phrase += '"';
}

std::string json_array(const std::vector<int>& ids) {
  std::string array = "[";
  for (const int id : ids) array.append(array.size() > 1 ? "," : "").append(std::to_string(id));
  return array += ']';
}

}  // namespace

// No index has the messages of several threads, or the hits of a keyword, in a list's order. What has to be sorted for
// a limited list is therefore the ids alone: the messages left over by the limit are read whole afterwards.
ListQuery::ListQuery(const ListCondition& condition) : _keyword(valid_keyword(condition)) {
  const bool is_sorted = has_indexed_keyword() || condition.thread_ids.size() > 1;
  const bool ids_first = is_sorted && is_limited(condition);
  _sql = "SELECT " MESSAGE_COLUMNS " FROM ";
  if (ids_first) _sql += "(SELECT m.id FROM ";
  add_tables();
  if (!ids_first) _sql += WITH_NMS_META;
  add_conditions(condition);
  add_order(condition);
  add_limit(condition);
  if (ids_first) {
    _sql.append(") AS listed CROSS JOIN message AS m ON m.id = listed.id").append(WITH_NMS_META);
    add_order(condition);
  }
}

bool ListQuery::has_indexed_keyword() const { return schema::length_in_characters(_keyword) >= MIN_INDEXED_LENGTH; }

// CROSS JOIN keeps the order in which the tables are visited: from the index's hits to their messages; for a short
// keyword from the messages in the list's order to their texts, so that a limited list stops early.
void ListQuery::add_tables() {
  if (_keyword.empty()) {
    _sql += "message AS m";
  } else if (has_indexed_keyword()) {
    _sql += "message_search CROSS JOIN message AS m ON m.id = message_search.rowid";
  } else {
    _sql += "message AS m CROSS JOIN message_text AS t ON t.message_id = m.id";
  }
}

void ListQuery::add_conditions(const ListCondition& condition) {
  if (!_keyword.empty()) where_keyword();
  if (!condition.thread_ids.empty()) where_threads(condition.thread_ids);
  if (condition.num_type != 0) {
    // The + keeps the condition from an index: threads and unread messages are fewer than those of a type.
    const bool is_narrowed = !condition.thread_ids.empty() || condition.flag_y != 0;
    where(is_narrowed ? "+m.type = ?" : "m.type = ?", condition.num_type);
  }
  // A literal, so that the index of unread messages is chosen.
  if (condition.flag_y != 0) where("m.is_read = 0");
}

void ListQuery::add_order(const ListCondition& condition) {
  _sql += condition.flag_x != 0 ? " ORDER BY m.time_ms DESC, m.id DESC" : " ORDER BY m.time_ms, m.id";
}

void ListQuery::add_limit(const ListCondition& condition) {
  if (!is_limited(condition)) return;
  _sql += " LIMIT ? OFFSET ?";
  _values.emplace_back(std::int64_t{condition.num_b > 0 ? condition.num_b : -1});
  _values.emplace_back(std::int64_t{condition.num_a});
}

void ListQuery::where(const char* predicate) { _sql.append(std::exchange(_conjunction, " AND ")).append(predicate); }

void ListQuery::where(const char* predicate, Value value) {
  where(predicate);
  _values.push_back(std::move(value));
}

void ListQuery::where_keyword() {
  if (has_indexed_keyword()) {
    where("message_search MATCH ?", as_phrase(_keyword));
  } else {
    where("instr(t.folded, ?) > 0", _keyword);
  }
}

void ListQuery::where_threads(const std::vector<int>& ids) {
  if (ids.size() == 1) {
    where("m.thread_id = ?", ids.front());
  } else {
    where("m.thread_id IN (SELECT value FROM json_each(?))", json_array(ids));
  }
}

void ListQuery::bind(schema::Statement& statement) const {
  int index = 0;
  for (const auto& value : _values) {
    std::visit(
        [&](const auto& held) {
          if constexpr (std::is_same_v<decltype(held), const std::string&>) {
            statement.bind(++index, std::string_view(held));
          } else {
            statement.bind(++index, held);
          }
        },
        value);
  }
}

}  // namespace msg_consumer::db
