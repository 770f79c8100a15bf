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

/// A query with arguments that no store could answer.
class InvalidArgument : public StoreError {
 public:
  explicit InvalidArgument(const std::string& what) : StoreError(DB_INVALID_ARGUMENT, what) {}
};

/// An open database that had this version's schema when it was opened, and the statements that were prepared on it.
class Connection {
 public:
  /// Throws `StoreError` for a database that can't be read, and says why.
  explicit Connection(const std::string& path);

  /// The statement of this SQL text: prepared at its first use, then kept.
  schema::Statement& statement(std::string_view sql);

  /// Begins to read: until the returned statement is reset, all others see the store as it is now. Throws `StoreError`
  /// when the store has been migrated to another schema.
  schema::Statement& begin_snapshot();

  /// Whether another file, or none, has taken the place of the open one.
  bool is_stale() const;

 private:
  schema::Database _database;
  std::map<std::string, schema::Statement, std::less<>> _statements;
};

}  // namespace msg_consumer::db

#endif
