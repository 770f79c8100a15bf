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

bool is_indexed(const std::string& keyword) { return schema::length_in_characters(keyword) >= MIN_INDEXED_LENGTH; }

std::string valid_keyword(const ListCondition& condition) {
  if (condition.num_a < 0 || condition.num_b < 0) {
    throw InvalidArgument("a list's offset and limit must not be negative");
  }
  auto folded = schema::fold(condition.keyword);
  if (!folded) throw InvalidArgument("the keyword is not UTF-8 text");
  return *std::move(folded);
}

/// One phrase of the search language, whatever the characters.
std::string quoted(const std::string& keyword) {
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

ListQuery::ListQuery(const ListCondition& condition) : _keyword(valid_keyword(condition)) {
  select_messages();
  if (!_keyword.empty()) where_keyword();
  if (!condition.thread_ids.empty()) where_threads(condition.thread_ids);
  if (condition.num_type != 0) where("m.type = ?", condition.num_type);
  // A literal, so that the index of unread messages is chosen.
  if (condition.flag_y != 0) where("m.is_read = 0");
  _sql += condition.flag_x != 0 ? " ORDER BY m.time_ms DESC, m.id DESC" : " ORDER BY m.time_ms, m.id";
  if (condition.num_a > 0 || condition.num_b > 0) {
    _sql += " LIMIT ? OFFSET ?";
    _values.emplace_back(std::int64_t{condition.num_b > 0 ? condition.num_b : -1});
    _values.emplace_back(std::int64_t{condition.num_a});
  }
}

// CROSS JOIN keeps the order in which the tables are visited: from the index's hits to their messages; for a short
// keyword from the messages in the list's order to their texts, so that a limited list stops early.
void ListQuery::select_messages() {
  _sql = "SELECT " MESSAGE_COLUMNS " FROM ";
  if (_keyword.empty()) {
    _sql += "message AS m";
  } else if (is_indexed(_keyword)) {
    _sql += "message_search CROSS JOIN message AS m ON m.id = message_search.rowid";
  } else {
    _sql += "message AS m CROSS JOIN message_text AS t ON t.message_id = m.id";
  }
  _sql += " LEFT JOIN nms_meta AS n ON n.id = m.nms_meta_id";
}

void ListQuery::where(const char* predicate) { _sql.append(std::exchange(_conjunction, " AND ")).append(predicate); }

void ListQuery::where(const char* predicate, Value value) {
  where(predicate);
  _values.push_back(std::move(value));
}

void ListQuery::where_keyword() {
  if (is_indexed(_keyword)) {
    where("message_search MATCH ?", quoted(_keyword));
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
