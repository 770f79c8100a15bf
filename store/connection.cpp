// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include <filesystem>
#include <system_error>

#include "schema/schema.hpp"

namespace msg_consumer::db {
namespace {

constexpr int BUSY_TIMEOUT_MS = 1000;

// What became of the file says more than SQLite's code.
[[noreturn]] void fail_to_open(const std::string& path, const schema::SqliteError& error) {
  std::error_code ignored;
  const auto type = std::filesystem::status(path, ignored).type();
  if (type == std::filesystem::file_type::not_found) {
    throw StoreError(DB_NO_STORE, "there is no message store at " + path + ": the service has not run yet");
  }
  if (error.primary() == SQLITE_NOTADB || type == std::filesystem::file_type::directory) {
    throw StoreError(DB_CORRUPT, path + " is not a database");
  }
  switch (error.primary()) {
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
      // A reader that may not make the -wal and -shm files needs to find them.
      throw StoreError(DB_NO_ACCESS, "the message store " + path + " or its -wal or -shm file may not be read");
    default:
      throw error;
  }
}

bool is_fresh(sqlite3* database) {
  schema::Statement statement(database, "SELECT count(*) FROM sqlite_schema");
  return statement.step() && statement.integer(0) == 0;
}

void check_version(int version) {
  if (version == schema::SCHEMA_VERSION) return;
  const std::string versions = "the message store has schema version " + std::to_string(version) +
                               ", this library reads version " + std::to_string(schema::SCHEMA_VERSION);
  if (version > schema::SCHEMA_VERSION) throw StoreError(DB_NEWER_SCHEMA, versions + ": update it");
  throw StoreError(DB_OLDER_SCHEMA, versions + ": start the service");
}

void check_identity(sqlite3* database, const std::string& path) {
  const schema::Identity identity = schema::read_identity(database);
  const bool fresh = identity.application_id == 0 && identity.version == 0 && is_fresh(database);
  if (identity.application_id != schema::APPLICATION_ID && !fresh) {
    throw StoreError(DB_CORRUPT, path + " is a database of another application");
  }
  check_version(identity.version);
}

schema::Database open(const std::string& path) try {
  auto database = schema::open_database(path, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX);
  sqlite3_busy_timeout(database.get(), BUSY_TIMEOUT_MS);
  schema::execute(database.get(), "PRAGMA query_only = ON");
  // Not mapped into memory: a file that is cut short would then kill the application with SIGBUS.
  schema::execute(database.get(), "PRAGMA cache_size = -8192");
  check_identity(database.get(), path);
  return database;
} catch (const schema::SqliteError& error) {
  fail_to_open(path, error);
}

}  // namespace

Connection::Connection(const std::string& path) : _database(open(path)) {}

schema::Statement& Connection::statement(std::string_view sql) {
  auto found = _statements.find(sql);
  if (found == _statements.end()) found = _statements.emplace(sql, schema::Statement(_database.get(), sql)).first;
  return found->second;
}

// A statement that stands on its row keeps the read transaction open: the version is that of what is read next.
schema::Statement& Connection::begin_snapshot() {
  auto& version = statement("PRAGMA user_version");
  version.step();
  check_version(static_cast<int>(version.integer(0)));
  return version;
}

bool Connection::is_stale() const {
  int moved = 0;
  const int code = sqlite3_file_control(_database.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return code != SQLITE_OK || moved != 0;
}

}  // namespace msg_consumer::db
