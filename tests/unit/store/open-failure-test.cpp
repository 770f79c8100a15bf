// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "named-row.hpp"
#include "schema/schema.hpp"
#include "support/log-capture.hpp"
#include "support/process.hpp"
#include "support/wait-until.hpp"
#include "test-store.hpp"

namespace msg_consumer::db {
namespace {

using test::make_message;
using test::TestStore;

int read_all() {
  std::vector<Message> messages;
  return db_get_message_list(ListCondition(), messages);
}

void fill(TestStore& store) {
  const int thread = store.add_thread({"1"});
  store.execute("BEGIN");
  for (int i = 0; i < 500; ++i) store.add_message(make_message(thread, std::string(200, 'x')));
  store.execute("COMMIT");
}

void remove_log(const TestStore& store) {
  std::filesystem::remove(store.path() + "-wal");
  std::filesystem::remove(store.path() + "-shm");
}

struct Damage {
  const char* name;
  void (*inflict)(TestStore& store);
  int status;
  const char* log;
};

void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }

class DamagedStore : public testing::TestWithParam<Damage> {};

TEST_P(DamagedStore, IsAnsweredWithAStatusAndALineOfItsOwn) {
  TestStore store;
  fill(store);
  store.close();
  GetParam().inflict(store);
  test::LogCapture::instance().clear();
  EXPECT_EQ(read_all(), GetParam().status);
  ASSERT_EQ(test::LogCapture::instance().lines().size(), 1U);
  const auto line = test::LogCapture::instance().lines().front();
  EXPECT_NE(line.message.find(GetParam().log), std::string::npos) << line.message;
  EXPECT_EQ(line.priority, 6);
  EXPECT_EQ(line.file, "db.cpp");
  EXPECT_EQ(line.function, "db_get_message_list");
}

void set_version(const TestStore& store, int version) {
  const auto database = schema::open_database(store.path(), SQLITE_OPEN_READWRITE);
  schema::execute(database.get(), ("PRAGMA user_version = " + std::to_string(version)).c_str());
}

const Damage DAMAGES[] = {
    {"Missing", [](TestStore& store) { std::filesystem::remove(store.path()); }, DB_NO_STORE,
     "there is no message store"},
    {"Truncated",
     [](TestStore& store) {
       remove_log(store);
       std::filesystem::resize_file(store.path(), std::filesystem::file_size(store.path()) / 2);
     },
     DB_CORRUPT, "malformed"},
    {"Garbage",
     [](TestStore& store) {
       remove_log(store);
       std::ofstream(store.path()) << std::string(10'000, 'g');
     },
     DB_CORRUPT, "is not a database"},
    {"Foreign",
     [](TestStore& store) {
       remove_log(store);
       std::filesystem::remove(store.path());
       const auto database = schema::open_database(store.path(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
       schema::execute(database.get(), "CREATE TABLE theirs (x)");
     },
     DB_CORRUPT, "another application"},
    {"Newer", [](TestStore& store) { set_version(store, schema::SCHEMA_VERSION + 1); }, DB_NEWER_SCHEMA, "update it"},
    {"Older", [](TestStore& store) { set_version(store, 0); }, DB_OLDER_SCHEMA, "start the service"},
    {"Empty",
     [](TestStore& store) {
       remove_log(store);
       std::filesystem::resize_file(store.path(), 0);
     },
     DB_OLDER_SCHEMA, "start the service"},
    {"Folder",
     [](TestStore& store) {
       remove_log(store);
       std::filesystem::remove(store.path());
       std::filesystem::create_directory(store.path());
     },
     DB_CORRUPT, "is not a database"},
    {"InAFileInsteadOfAFolder",
     [](TestStore& store) { setenv("MSG_CONSUMER_DB", (store.path() + "/messages.db").c_str(), 1); }, DB_NO_STORE,
     "there is no message store"},
};

INSTANTIATE_TEST_SUITE_P(Ways, DamagedStore, testing::ValuesIn(DAMAGES), test::name_of_row);

TEST(OpeningTheStore, IsTriedAgainAfterAFailure) {
  TestStore store;
  fill(store);
  const std::string hidden = store.path() + ".hidden";
  store.close();
  std::filesystem::rename(store.path(), hidden);
  EXPECT_EQ(init_db(), DB_NO_STORE);
  EXPECT_EQ(read_all(), DB_NO_STORE);
  std::filesystem::rename(hidden, store.path());
  EXPECT_EQ(init_db(), DB_OK);
  EXPECT_EQ(read_all(), DB_OK);
}

TEST(OpeningTheStore, NoticesThatTheFileWasReplaced) {
  TestStore store;
  fill(store);
  EXPECT_EQ(read_all(), DB_OK);
  store.close();
  remove_log(store);
  std::filesystem::remove(store.path());
  EXPECT_EQ(read_all(), DB_NO_STORE);
}

struct Migration {
  const char* name;
  int version;
  int status;
};

void PrintTo(const Migration& migration, std::ostream* out) { *out << migration.name; }

class MigratedStore : public testing::TestWithParam<Migration> {};

TEST_P(MigratedStore, IsNoticedByAThreadThatHasItOpen) {
  TestStore store;
  fill(store);
  EXPECT_EQ(read_all(), DB_OK);
  set_version(store, GetParam().version);
  EXPECT_EQ(read_all(), GetParam().status);
  EXPECT_EQ(init_db(), GetParam().status);
  set_version(store, schema::SCHEMA_VERSION);
  EXPECT_EQ(read_all(), DB_OK);
}

INSTANTIATE_TEST_SUITE_P(Versions, MigratedStore,
                         testing::Values(Migration{"Newer", schema::SCHEMA_VERSION + 1, DB_NEWER_SCHEMA},
                                         Migration{"Older", schema::SCHEMA_VERSION - 1, DB_OLDER_SCHEMA}),
                         test::name_of_row);

TEST(OpeningTheStore, WaitsForALockWithinABound) {
  TestStore store;
  fill(store);
  // Out of WAL mode, where a writer does keep readers out.
  store.execute("PRAGMA journal_mode = DELETE");
  store.execute("PRAGMA locking_mode = EXCLUSIVE");
  store.execute("BEGIN EXCLUSIVE");
  test::LogCapture::instance().clear();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(read_all(), DB_LOCKED);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(900));
  EXPECT_LE(waited, std::chrono::seconds(5)) << "more than a few locks' worth, even on a busy machine";
  EXPECT_TRUE(test::LogCapture::instance().contains("locked"));
  store.execute("COMMIT");
  store.execute("PRAGMA locking_mode = NORMAL");
  store.execute("SELECT count(*) FROM thread");
  EXPECT_EQ(read_all(), DB_OK);
}

// Root reads everything: the reader is another user, in a process of its own.
class OtherUser : public testing::Test {
 protected:
  static constexpr uid_t NOBODY = 65534;

  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    fill(_store);
    std::filesystem::permissions(std::filesystem::path(_store.path()).parent_path(), std::filesystem::perms(0755));
  }

  static void allow(const std::string& path, bool allowed) { chmod(path.c_str(), allowed ? 0644 : 0600); }

  void allow_all() {
    for (const auto* suffix : {"", "-wal", "-shm"}) allow(_store.path() + suffix, true);
  }

  /// The status of a query that the other user makes.
  static int read_as_nobody() {
    test::Process reader([] {
      if (setgid(NOBODY) != 0 || setuid(NOBODY) != 0) return 1;
      const int status = read_all();
      return status == DB_OK ? 0 : -status - 1000;
    });
    const int exit_status = reader.wait().value_or(-1);
    return exit_status == 0 ? 0 : -exit_status - 1000;
  }

  TestStore _store;
};

TEST_F(OtherUser, ReadsWhileTheWriterLives) {
  allow_all();
  EXPECT_EQ(read_as_nobody(), DB_OK);
}

TEST_F(OtherUser, ReadsAfterTheWritersEnd) {
  allow_all();
  _store.close();
  EXPECT_EQ(read_as_nobody(), DB_OK);
}

TEST_F(OtherUser, ReadsAfterTheWriterWasKilled) {
  _store.close();
  const std::string written = _store.path() + ".written";
  test::Process writer([&] {
    const auto database = schema::open_database(_store.path(), SQLITE_OPEN_READWRITE);
    schema::execute(database.get(), "UPDATE message SET is_read = 0");
    test::write_file(written, "");
    return pause();
  });
  ASSERT_TRUE(test::wait_until([&] { return std::filesystem::exists(written); }));
  writer.signal(SIGKILL);
  EXPECT_EQ(writer.wait(), -SIGKILL);
  allow_all();
  EXPECT_EQ(read_as_nobody(), DB_OK);
}

TEST_F(OtherUser, IsToldThatTheDatabaseMayNotBeRead) {
  allow_all();
  allow(_store.path(), false);
  EXPECT_EQ(read_as_nobody(), DB_NO_ACCESS);
}

TEST_F(OtherUser, IsToldThatTheLogMayNotBeRead) {
  allow_all();
  allow(_store.path() + "-wal", false);
  EXPECT_EQ(read_as_nobody(), DB_NO_ACCESS);
}

TEST_F(OtherUser, IsToldThatTheFolderMayNotBeEntered) {
  allow_all();
  std::filesystem::permissions(std::filesystem::path(_store.path()).parent_path(), std::filesystem::perms(0700));
  EXPECT_EQ(read_as_nobody(), DB_NO_ACCESS);
}

}  // namespace
}  // namespace msg_consumer::db
