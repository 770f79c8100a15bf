// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "support/process.hpp"
#include "support/wait-until.hpp"
#include "test-store.hpp"

namespace msg_consumer::db {
namespace {

using test::make_message;
using test::TestStore;

int count_messages() {
  std::vector<Message> messages;
  const int status = db_get_message_list(ListCondition(), messages);
  return status == DB_OK || status == DB_NO_RECORD ? static_cast<int>(messages.size()) : status;
}

/// How often this process has the database file open.
int open_files(const TestStore& store) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == store.path()) ++count;
  }
  return count;
}

class Sessions : public testing::Test {
 protected:
  Sessions() { _store.add_message(make_message(_thread, "first")); }

  TestStore _store;
  int _thread = _store.add_thread({"1"});
};

// While one connection of a process holds locks on a file, SQLite closes no descriptor of it: no writer here.
class OpenFiles : public Sessions {
 protected:
  OpenFiles() { _store.close(); }
};

TEST_F(OpenFiles, AQueryOpensTheStoreAndTheThreadKeepsIt) {
  EXPECT_EQ(count_messages(), 1);
  EXPECT_EQ(open_files(_store), 1);
  EXPECT_EQ(count_messages(), 1);
  EXPECT_EQ(open_files(_store), 1);
}

TEST_F(OpenFiles, InitMayBeRepeatedAndOneDeinitCloses) {
  EXPECT_EQ(init_db(), DB_OK);
  EXPECT_EQ(init_db(), DB_OK);
  EXPECT_EQ(open_files(_store), 1);
  EXPECT_EQ(deinit_db(), DB_OK);
  EXPECT_EQ(open_files(_store), 0);
  EXPECT_EQ(deinit_db(), DB_OK);
  EXPECT_EQ(count_messages(), 1);
}

TEST_F(OpenFiles, AThreadsConnectionIsClosedAtItsEnd) {
  std::thread reader([] { EXPECT_EQ(count_messages(), 1); });
  reader.join();
  EXPECT_EQ(open_files(_store), 0);
}

TEST_F(OpenFiles, DeinitClosesTheIdleConnectionsOfOtherThreads) {
  std::atomic<bool> has_read = false;
  std::atomic<bool> may_go_on = false;
  std::thread reader([&] {
    EXPECT_EQ(count_messages(), 1);
    has_read = true;
    EXPECT_TRUE(test::wait_until([&] { return may_go_on.load(); }));
    EXPECT_EQ(count_messages(), 1);
  });
  EXPECT_TRUE(test::wait_until([&] { return has_read.load(); }));
  EXPECT_EQ(open_files(_store), 1);
  deinit_db();
  EXPECT_EQ(open_files(_store), 0);
  may_go_on = true;
  reader.join();
}

TEST_F(OpenFiles, DeinitDuringAQueryLetsItFinishAndClosesAfterwards) {
  const std::string locked = _store.path() + ".locked";
  const std::string release = _store.path() + ".release";
  test::Process locker([&] {
    const auto database = schema::open_database(_store.path(), SQLITE_OPEN_READWRITE);
    // Out of WAL mode, where a writer does keep readers out.
    schema::execute(database.get(), "PRAGMA journal_mode = DELETE");
    schema::execute(database.get(), "BEGIN EXCLUSIVE");
    test::write_file(locked, "");
    return test::wait_until([&] { return std::filesystem::exists(release); }) ? 0 : 1;
  });
  ASSERT_TRUE(test::wait_until([&] { return std::filesystem::exists(locked); }));

  std::atomic<bool> has_read = false;
  std::atomic<bool> may_end = false;
  std::thread reader([&] {
    EXPECT_EQ(count_messages(), 1);
    has_read = true;
    EXPECT_TRUE(test::wait_until([&] { return may_end.load(); }));
  });
  EXPECT_TRUE(test::wait_until([&] { return open_files(_store) == 1; }));
  deinit_db();
  EXPECT_EQ(open_files(_store), 1);
  test::write_file(release, "");
  EXPECT_TRUE(test::wait_until([&] { return has_read.load(); }));
  EXPECT_EQ(open_files(_store), 0);
  may_end = true;
  reader.join();
}

TEST_F(Sessions, ThreadsReadWhileAWriterWritesAndConnectionsAreClosed) {
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&done] {
      int last = 0;
      while (!done) {
        const int count = count_messages();
        EXPECT_GE(count, last);
        last = count;
      }
    });
  }
  threads.emplace_back([&done] {
    while (!done) {
      deinit_db();
      std::this_thread::yield();
    }
  });
  for (int i = 0; i < 300; ++i) _store.add_message(make_message(_thread, "more", i));
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(count_messages(), 301);
}

TEST_F(OpenFiles, AFailedQueryClosesItsConnectionSoThatTheNextOneLooksAnew) {
  schema::execute(schema::open_database(_store.path(), SQLITE_OPEN_READWRITE).get(),
                  "UPDATE message SET packed = x'ff'");
  EXPECT_EQ(count_messages(), DB_CORRUPT);
  EXPECT_EQ(open_files(_store), 0);
}

TEST_F(OpenFiles, AnInvalidArgumentLeavesTheConnectionOpen) {
  EXPECT_EQ(count_messages(), 1);
  ListCondition condition;
  condition.num_b = -1;
  std::vector<Message> messages;
  EXPECT_EQ(db_get_message_list(condition, messages), DB_INVALID_ARGUMENT);
  EXPECT_EQ(open_files(_store), 1);
  EXPECT_EQ(db_check_thread_address_exist({}, nullptr), DB_INVALID_ARGUMENT);
  EXPECT_EQ(open_files(_store), 1);
  NmsMsgMeta meta;
  EXPECT_EQ(db_get_nms_msg_meta(0, "", meta), DB_INVALID_ARGUMENT);
  EXPECT_EQ(open_files(_store), 1);
}

TEST_F(OpenFiles, AForkedChildOpensAConnectionOfItsOwn) {
  EXPECT_EQ(count_messages(), 1);
  test::Process child([this] {
    if (open_files(_store) != 0) return 1;
    if (count_messages() != 1) return 2;
    if (open_files(_store) != 1) return 3;
    deinit_db();
    return open_files(_store) == 0 ? 0 : 4;
  });
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(count_messages(), 1);
}

// Of the parent's threads only one lives on in the child: the others' connections must not be in its way.
TEST_F(Sessions, AChildForkedWhileOtherThreadsReadReadsToo) {
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&done] {
      while (!done) EXPECT_EQ(count_messages(), 1);
    });
  }
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      const bool good = count_messages() == 1 && deinit_db() == DB_OK && count_messages() == 1;
      _exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  done = true;
  for (auto& thread : threads) thread.join();
}

/// Reads once more when its thread ends, or the process.
struct LateReader {
  ~LateReader() { result = count_messages(); }
  static inline std::atomic<int> result = 0;
};

TEST_F(OpenFiles, AThreadMayReadUntilItsVeryEnd) {
  std::thread reader([] {
    thread_local const LateReader late;
    static_cast<void>(&late);
    EXPECT_EQ(count_messages(), 1);
  });
  reader.join();
  EXPECT_EQ(LateReader::result, 1);
  EXPECT_EQ(open_files(_store), 0);
}

TEST_F(Sessions, TheProcessMayReadUntilItsVeryEnd) {
  test::Process child([] {
    EXPECT_EQ(count_messages(), 1);
    std::atexit([] { _exit(count_messages() == 1 && deinit_db() == DB_OK ? 42 : 1); });
    std::exit(1);
    return 1;
  });
  EXPECT_EQ(child.wait(), 42);
}

}  // namespace
}  // namespace msg_consumer::db
