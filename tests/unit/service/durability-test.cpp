// SPDX-License-Identifier: Apache-2.0
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "service-test.hpp"

namespace {

/// The files that were brought to the disk, in this order, while a test listens.
std::vector<std::string>* g_synced = nullptr;

int note_sync(int file, long call) {
  if (g_synced != nullptr) {
    std::error_code unnamed;
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), unnamed);
    g_synced->push_back(path.filename());
  }
  return static_cast<int>(syscall(call, file));
}

}  // namespace

// In the place of the C library's, for the service and for SQLite.
extern "C" int fsync(int file) { return note_sync(file, SYS_fsync); }
extern "C" int fdatasync(int file) { return note_sync(file, SYS_fdatasync); }

namespace msg_consumer::service {
namespace {

class Durability : public ServiceTest {
 protected:
  ~Durability() override { g_synced = nullptr; }

  std::vector<std::string> synced;
};

TEST_F(Durability, AFileAndItsFoldersAreOnTheDiskBeforeTheMessageIs) {
  test::write_file(folder.file("note.txt"), "text");
  send("+4917", "the log's first commit brings its header to the disk as well");
  g_synced = &synced;
  ASSERT_EQ(commands.send_message({"mms", 0, "+4917", "", folder.file("note.txt"), 1}).message_id, 2);
  EXPECT_THAT(synced, testing::ElementsAre("0", "2", "files", "messages.db-wal"));
}

TEST_F(Durability, ACopyIsOnTheDiskBeforeItIsAnnounced) {
  test::write_file(folder.file("note.txt"), "text");
  ASSERT_EQ(commands.send_message({"mms", 0, "+4917", "", folder.file("note.txt"), 1}).message_id, 1);
  g_synced = &synced;
  ASSERT_EQ(commands.get_content_file(1, folder.file("copy.txt")).status, STATUS_OK);
  EXPECT_THAT(synced, testing::ElementsAre("copy.txt", folder.path().filename(), "messages.db-wal"));
}

TEST_F(Durability, ANewFolderIsOnTheDiskWithThoseAroundIt) {
  g_synced = &synced;
  const ContentFiles deep({.database = path, .files = folder.file("var/lib/files")});
  EXPECT_THAT(synced, testing::ElementsAre(folder.path().filename(), "var", "lib"));
}

}  // namespace
}  // namespace msg_consumer::service
