// SPDX-License-Identifier: Apache-2.0
#include "service/database-file.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "schema/schema.hpp"
#include "service/store-writer.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::service {
namespace {

using testing::HasSubstr;

class DatabaseFile : public testing::Test {
 protected:
  static struct stat look_at(const std::string& file) {
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0) << file;
    return status;
  }
  static std::string text_of(sqlite3* database, const char* sql) {
    schema::Statement statement(database, sql);
    return statement.step() ? std::string(statement.text(0)) : "";
  }

  test::TempDir folder;
  std::string path = folder.file("messages.db");
};

TEST_F(DatabaseFile, EveryCommitIsOnTheDisk) {
  const schema::Database database = open_database_file(path);
  EXPECT_EQ(text_of(database.get(), "PRAGMA journal_mode"), "wal");
  EXPECT_EQ(text_of(database.get(), "PRAGMA synchronous"), "2");
  EXPECT_EQ(text_of(database.get(), "PRAGMA foreign_keys"), "1");
}

TEST_F(DatabaseFile, ReadersOfTheGroupGetIn) {
  const mode_t mask = umask(0077);
  {
    const StoreWriter store(path);
    umask(mask);
    for (const char* suffix : {"", "-wal", "-shm"}) {
      EXPECT_EQ(look_at(path + suffix).st_mode & 0777U, 0640U) << suffix;
    }
  }
  for (const char* suffix : {"", "-wal", "-shm"}) {
    EXPECT_EQ(look_at(path + suffix).st_mode & 0777U, 0640U) << suffix << " after a clean end";
  }
}

TEST_F(DatabaseFile, TheLogHasTheDatabasesModeAndGroup) {
  { const StoreWriter store(path); }
  ASSERT_EQ(chmod(path.c_str(), 0664), 0);
  const bool is_root = geteuid() == 0;
  if (is_root) {
    ASSERT_EQ(chown(path.c_str(), 0, 12345), 0);
  }
  const StoreWriter store(path);
  for (const char* suffix : {"-wal", "-shm"}) {
    EXPECT_EQ(look_at(path + suffix).st_mode & 0777U, 0664U) << suffix;
    EXPECT_EQ(look_at(path + suffix).st_gid, look_at(path).st_gid) << suffix;
  }
}

TEST_F(DatabaseFile, ACleanEndLeavesAnEmptyLog) {
  { const StoreWriter store(path); }
  EXPECT_EQ(look_at(path + "-wal").st_size, 0);
  EXPECT_GT(look_at(path).st_size, 0);
}

/// Two connections take turns, so that at any time one of them is reading.
int read_without_pause(const std::string& path, const std::string& ready) {
  const schema::Database databases[] = {schema::open_database(path, SQLITE_OPEN_READONLY),
                                        schema::open_database(path, SQLITE_OPEN_READONLY)};
  constexpr auto BEGIN = "BEGIN; SELECT count(*) FROM message";
  schema::execute(databases[0].get(), BEGIN);
  test::write_file(ready, "");
  for (int turn = 1;; ++turn) {
    schema::execute(databases[turn % 2].get(), BEGIN);
    schema::execute(databases[(turn + 1) % 2].get(), "COMMIT");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

TEST_F(DatabaseFile, TheLogStaysBoundedWhileReadersOverlap) {
  { const StoreWriter store(path); }
  const std::string ready = folder.file("ready");
  // A fork, and before this process opens the database: locks are the process's.
  const test::Process readers([&] { return read_without_pause(path, ready); });
  ASSERT_TRUE(test::wait_until([&] { return access(ready.c_str(), F_OK) == 0; }));
  StoreWriter store(path);
  constexpr off_t MEBIBYTE = 1024 * 1024;
  for (int number = 0; number < 60; ++number) {
    store.transact([&] { store.device_requests().add(std::string(static_cast<std::size_t>(MEBIBYTE), 'x'), 0, 0); });
    store.shorten_log();
    ASSERT_LT(look_at(path + "-wal").st_size, 24 * MEBIBYTE);
  }
}

struct Unusable {
  const char* name;
  std::function<void(const std::string& path)> make;
  const char* complaint;
};

class UnusableDatabases : public DatabaseFile, public testing::WithParamInterface<Unusable> {};

TEST_P(UnusableDatabases, AreRefusedInWordsAndLeftAsTheyAre) {
  GetParam().make(path);
  const std::string before = test::read_file(path);
  try {
    const StoreWriter store(path);
    ADD_FAILURE() << "opened";
  } catch (const std::exception& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().complaint));
  }
  EXPECT_EQ(test::read_file(path), before);
}

void make_foreign(const std::string& path) {
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  schema::execute(database.get(), "CREATE TABLE bookmarks (url TEXT)");
}

void make_newer(const std::string& path) {
  { const StoreWriter store(path); }
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE);
  const int newer = schema::SCHEMA_VERSION + 1;
  schema::execute(database.get(), ("PRAGMA user_version = " + std::to_string(newer)).c_str());
}

void make_truncated(const std::string& path) {
  { const StoreWriter store(path); }
  const std::string whole = test::read_file(path);
  test::write_file(path, whole.substr(0, whole.size() / 2));
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, UnusableDatabases,
    testing::Values(Unusable{"Garbage", [](const std::string& path) { test::write_file(path, std::string(8192, 'x')); },
                             "is damaged"},
                    Unusable{"Truncated", make_truncated, "is damaged"},
                    Unusable{"Foreign", make_foreign, "another application"},
                    Unusable{"Newer", make_newer, "schema version"}),
    [](const auto& row) { return row.param.name; });

TEST_F(DatabaseFile, AMissingFolderIsReported) {
  try {
    const StoreWriter store(folder.file("missing/messages.db"));
    ADD_FAILURE() << "opened";
  } catch (const std::exception& error) {
    EXPECT_THAT(error.what(), HasSubstr("missing/messages.db"));
  }
}

}  // namespace
}  // namespace msg_consumer::service
