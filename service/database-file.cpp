// SPDX-License-Identifier: Apache-2.0
#include "database-file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "file-descriptor.hpp"

namespace msg_consumer::service {
namespace {

// Readers are the members of the file's group.
constexpr mode_t DATABASE_MODE = 0640;
constexpr mode_t PERMISSION_BITS = 0777;

[[noreturn]] void fail(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

struct stat status_of(const FileDescriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    fail("cannot look at " + path);
  }
  return status;
}

// SQLite gives its own files the mode of the database, so that must be right before SQLite sees it.
void make_when_missing(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, DATABASE_MODE));
  if (!file) {
    fail("cannot open the database " + path);
  }
  if (status_of(file, path).st_size == 0 && fchmod(file.get(), DATABASE_MODE) != 0) {
    fail("cannot set the mode of " + path);
  }
}

// A reader who may open the database but not these two cannot read it. By path and never through a descriptor: closing
// any descriptor of a file drops all locks that this process, and so SQLite, holds on it.
void give_owner_and_mode(const std::string& path, const struct stat& wanted) {
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) {
    fail("cannot look at " + path);
  }
  if (found.st_gid != wanted.st_gid && lchown(path.c_str(), static_cast<uid_t>(-1), wanted.st_gid) != 0) {
    fail("cannot set the group of " + path);
  }
  const mode_t mode = wanted.st_mode & PERMISSION_BITS;
  if ((found.st_mode & PERMISSION_BITS) != mode && chmod(path.c_str(), mode) != 0) {
    fail("cannot set the mode of " + path);
  }
}

void let_readers_in(const std::string& path) {
  struct stat database {};
  if (stat(path.c_str(), &database) != 0) {
    fail("cannot look at " + path);
  }
  give_owner_and_mode(path + "-wal", database);
  give_owner_and_mode(path + "-shm", database);
}

// Without these files a reader who may not write cannot open a database in WAL mode.
void keep_wal_files(sqlite3* database) {
  int keep = 1;
  if (sqlite3_file_control(database, "main", SQLITE_FCNTL_PERSIST_WAL, &keep) != SQLITE_OK) {
    throw std::runtime_error("cannot keep the write-ahead log");
  }
}

void use_wal(sqlite3* database) {
  schema::Statement statement(database, "PRAGMA journal_mode = WAL");
  if (!statement.step() || statement.text(0) != "wal") {
    throw std::runtime_error("the database cannot have a write-ahead log here");
  }
}

schema::Database open_and_migrate(const std::string& path, schema::Migrations migrations) {
  schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
  sqlite3_busy_timeout(database.get(), BUSY_TIMEOUT_MS);
  keep_wal_files(database.get());
  schema::migrate(database.get(), migrations);
  use_wal(database.get());
  // FULL: every commit is on the disk before it is acknowledged. The limit shortens the log after a long reader let it
  // grow.
  schema::execute(database.get(),
                  "PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON; PRAGMA journal_size_limit = 16777216;");
  return database;
}

}  // namespace

schema::Database open_database_file(const std::string& path, schema::Migrations migrations) try {
  make_when_missing(path);
  schema::Database database = open_and_migrate(path, migrations);
  // The first write transaction is what makes both files.
  schema::Transaction(database.get()).commit();
  let_readers_in(path);
  return database;
} catch (const schema::SqliteError& error) {
  if (error.primary() == SQLITE_NOTADB || error.primary() == SQLITE_CORRUPT) {
    throw std::runtime_error("the database " + path + " is damaged (" + error.what() +
                             "): move it away, or put a copy in its place");
  }
  throw std::runtime_error("cannot open the database " + path + ": " + error.what());
}

}  // namespace msg_consumer::service
