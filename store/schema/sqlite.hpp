// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_SQLITE_HPP
#define MSG_CONSUMER_STORE_SCHEMA_SQLITE_HPP

// SQLite with owners: what reader and writer share. Failures are exceptions inside the store and the service; the
// doors of both turn them into statuses.

#include <sqlite3.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::schema {

/// A failed call of SQLite: its extended result code and its message. Out of memory is std::bad_alloc instead.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int code, const std::string& what) : std::runtime_error(what), _code(code) {}
  int code() const { return _code; }
  /// The primary result code, for example SQLITE_BUSY.
  int primary() const { return _code & 0xff; }

 private:
  int _code;
};

using Database = Owned<sqlite3, sqlite3_close_v2>;

/// Opens a database file with extended result codes on. `flags` are those of `sqlite3_open_v2`.
Database open_database(const std::string& path, int flags);

/// Runs SQL text without results.
void execute(sqlite3* database, const char* sql);

/// A prepared statement that is kept and run many times.
class Statement {
 public:
  Statement() = default;
  Statement(sqlite3* database, std::string_view sql);

  explicit operator bool() const { return static_cast<bool>(_statement); }

  Statement& bind(int index, std::int64_t value);
  /// The text must live until the statement is reset: it is not copied.
  Statement& bind(int index, std::string_view text);
  Statement& bind_blob(int index, std::string_view bytes);
  Statement& bind_null(int index);

  /// Steps to the next row; false when there is none.
  bool step();
  /// Steps a statement that returns no row, and resets it.
  void run();
  /// As `run`, where there is nobody to tell of a failure.
  void try_once() noexcept;
  void reset() noexcept;

  std::int64_t integer(int column) const { return sqlite3_column_int64(_statement.get(), column); }
  bool is_null(int column) const { return sqlite3_column_type(_statement.get(), column) == SQLITE_NULL; }
  /// Valid until the next step or reset.
  std::string_view text(int column) const;
  std::string_view blob(int column) const;

 private:
  Owned<sqlite3_stmt, sqlite3_finalize> _statement;
};

/// Resets a kept statement at the end of its use, so that it holds no read transaction open.
class ResetAtExit {
 public:
  explicit ResetAtExit(Statement& statement) : _statement(statement) {}
  ~ResetAtExit() { _statement.reset(); }
  ResetAtExit(const ResetAtExit&) = delete;
  ResetAtExit& operator=(const ResetAtExit&) = delete;

 private:
  Statement& _statement;
};

/// A write transaction: rolled back unless committed.
class Transaction {
 public:
  explicit Transaction(sqlite3* database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  sqlite3* _database;
  Statement _rollback;
  bool _open = true;
};

}  // namespace msg_consumer::schema

#endif
