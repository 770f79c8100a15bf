// SPDX-License-Identifier: Apache-2.0
#include "schema/sqlite.hpp"

#include <new>

namespace msg_consumer::schema {
namespace {

[[noreturn]] void fail(sqlite3* database, int code) {
  if ((code & 0xff) == SQLITE_NOMEM) throw std::bad_alloc();
  throw SqliteError(code, database != nullptr ? sqlite3_errmsg(database) : sqlite3_errstr(code));
}

void check(sqlite3* database, int code) {
  if (code != SQLITE_OK) fail(database, code);
}

void check(sqlite3_stmt* statement, int code) { check(sqlite3_db_handle(statement), code); }

// SQLite takes a null pointer for NULL, whatever the length.
const char* data_of(std::string_view bytes) { return bytes.data() != nullptr ? bytes.data() : ""; }

std::string_view view(const void* data, int size) {
  return data != nullptr ? std::string_view(static_cast<const char*>(data), static_cast<std::size_t>(size))
                         : std::string_view();
}

}  // namespace

Database open_database(const std::string& path, int flags) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags | SQLITE_OPEN_EXRESCODE, nullptr);
  Database database(handle);
  check(handle, code);
  return database;
}

void execute(sqlite3* database, const char* sql) {
  check(database, sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
}

Statement::Statement(sqlite3* database, std::string_view sql) {
  sqlite3_stmt* handle = nullptr;
  check(database, sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                     &handle, nullptr));
  _statement.reset(handle);
}

Statement& Statement::bind(int index, std::int64_t value) {
  check(_statement.get(), sqlite3_bind_int64(_statement.get(), index, value));
  return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
  check(_statement.get(),
        sqlite3_bind_text64(_statement.get(), index, data_of(text), text.size(), SQLITE_STATIC, SQLITE_UTF8));
  return *this;
}

Statement& Statement::bind_blob(int index, std::string_view bytes) {
  check(_statement.get(), sqlite3_bind_blob64(_statement.get(), index, data_of(bytes), bytes.size(), SQLITE_STATIC));
  return *this;
}

Statement& Statement::bind_null(int index) {
  check(_statement.get(), sqlite3_bind_null(_statement.get(), index));
  return *this;
}

bool Statement::step() {
  const int code = sqlite3_step(_statement.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) fail(sqlite3_db_handle(_statement.get()), code);
  return false;
}

void Statement::run() {
  const ResetAtExit guard(*this);
  while (step()) {
  }
}

void Statement::try_once() noexcept {
  static_cast<void>(sqlite3_step(_statement.get()));
  reset();
}

void Statement::reset() noexcept {
  // Says again what the last step has said already.
  static_cast<void>(sqlite3_reset(_statement.get()));
}

std::string_view Statement::text(int column) const {
  // The text first: asking for it may convert the value, and with it the size.
  const auto* data = sqlite3_column_text(_statement.get(), column);
  // An empty text is no null pointer.
  if (data == nullptr && !is_null(column)) throw std::bad_alloc();
  return view(data, sqlite3_column_bytes(_statement.get(), column));
}

std::string_view Statement::blob(int column) const {
  const auto* data = sqlite3_column_blob(_statement.get(), column);
  return view(data, sqlite3_column_bytes(_statement.get(), column));
}

// IMMEDIATE: a transaction that starts by reading could not be upgraded once another connection has written.
// The way back is ready before the first step: it must not need the memory whose lack may be the reason to take it.
Transaction::Transaction(sqlite3* database) : _database(database), _rollback(database, "ROLLBACK") {
  execute(database, "BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  // SQLite may have rolled back by itself, when the disk is full for example.
  if (_open && sqlite3_get_autocommit(_database) == 0) {
    _rollback.try_once();
  }
}

void Transaction::commit() {
  execute(_database, "COMMIT");
  _open = false;
}

}  // namespace msg_consumer::schema
