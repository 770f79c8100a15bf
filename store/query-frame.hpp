// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_QUERY_FRAME_HPP
#define MSG_CONSUMER_STORE_QUERY_FRAME_HPP

// What the queries have in common: from a statement to the caller's record or list, which are touched on success only.

#include <msg-consumer-common/db.h>

#include <iterator>
#include <utility>
#include <vector>

#include "rows.hpp"
#include "session.hpp"

namespace msg_consumer::db {

/// Puts a result behind what the caller's list holds, all of it or, when memory runs out, nothing.
template <typename Record>
int append(std::vector<Record>& result, std::vector<Record>& list) {
  if (result.empty()) return DB_NO_RECORD;
  if (list.empty()) {
    list = std::move(result);
  } else {
    list.reserve(list.size() + result.size());
    std::move(result.begin(), result.end(), std::back_inserter(list));
  }
  return DB_OK;
}

/// Reads the first row of a statement whose values are bound; false when there is none.
template <typename Record>
bool read_first(schema::Statement& statement, Record& record) {
  const schema::ResetAtExit reset(statement);
  if (!statement.step()) return false;
  read_row(statement, record);
  return true;
}

/// Puts what a statement finds first into the caller's record.
template <typename Record>
int fill(schema::Statement& statement, Record& record) {
  Record result;
  if (!read_first(statement, result)) return DB_NO_RECORD;
  record = std::move(result);
  return DB_OK;
}

/// Reads all rows of a statement whose values are bound.
template <typename Record>
std::vector<Record> read_all(schema::Statement& statement) {
  const schema::ResetAtExit reset(statement);
  std::vector<Record> result;
  while (statement.step()) read_row(statement, result.emplace_back());
  return result;
}

/// Puts all that a statement finds behind what the caller's list holds.
template <typename Record>
int append_all(schema::Statement& statement, std::vector<Record>& list) {
  auto result = read_all<Record>(statement);
  return append(result, list);
}

}  // namespace msg_consumer::db

#endif
