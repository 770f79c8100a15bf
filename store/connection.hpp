// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_CONNECTION_HPP
#define MSG_CONSUMER_STORE_CONNECTION_HPP

#include <msg-consumer-common/db.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "schema/sqlite.hpp"

namespace msg_consumer::db {

/// A failure of a query that has a status of its own.
class StoreError : public std::runtime_error {
 public:
  StoreError(Status status, const std::string& what) : std::runtime_error(what), _status(status) {}
  Status status() const { return _status; }

 private:
  Status _status;
};

/// An open database that has this version's schema, and the statements that were prepared on it.
class Connection {
 public:
  /// Throws `StoreError` for a database that can't be read, and says why.
  explicit Connection(const std::string& path);

  /// The statement of this SQL text: prepared at its first use, then kept.
  schema::Statement& statement(std::string_view sql);

  /// Whether another file, or none, has taken the place of the open one.
  bool is_stale() const;

 private:
  schema::Database _database;
  std::map<std::string, schema::Statement, std::less<>> _statements;
};

}  // namespace msg_consumer::db

#endif
