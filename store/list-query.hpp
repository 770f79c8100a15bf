// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_LIST_QUERY_HPP
#define MSG_CONSUMER_STORE_LIST_QUERY_HPP

#include <msg-consumer-common/ListCondition.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "schema/sqlite.hpp"

namespace msg_consumer::db {

/// A condition as one SELECT: its text depends on which members are used, not on their values.
class ListQuery {
 public:
  /// Throws `StoreError` for an invalid condition.
  explicit ListQuery(const ListCondition& condition);

  const std::string& sql() const { return _sql; }

  /// Binds the values; they must live until the statement is reset.
  void bind(schema::Statement& statement) const;

 private:
  using Value = std::variant<std::int64_t, std::string>;

  void add_tables();
  void add_conditions(const ListCondition& condition);
  void add_order(const ListCondition& condition);
  void add_limit(const ListCondition& condition);
  void where(const char* predicate);
  void where(const char* predicate, Value value);
  void where_keyword();
  void where_threads(const std::vector<int>& ids);
  bool has_indexed_keyword() const;

  std::string _keyword;
  std::string _sql;
  std::vector<Value> _values;
  const char* _conjunction = " WHERE ";
};

}  // namespace msg_consumer::db

#endif
