// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/preference.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "support/environment.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

using testing::ElementsAre;

/// What the system was asked for, by anything in this program, while the object lives.
struct Calls {
  Calls() { current = this; }
  Calls(const Calls&) = delete;
  Calls& operator=(const Calls&) = delete;
  Calls(Calls&&) = delete;
  Calls& operator=(Calls&&) = delete;
  ~Calls() { current = nullptr; }

  static Calls* current;

  bool nothing_exists = false;      ///< opening anything fails with ENOENT
  std::vector<std::string> opened;  ///< paths
  std::vector<std::string> changes;
  std::optional<mode_t> mode_when_renamed;
  std::string content_when_renamed;
};

Calls* Calls::current = nullptr;

std::string path_of(int fd) { return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)).string(); }

// The last part of a temporary file's name is different each time.
std::string without_suffix(const std::string& path) { return std::filesystem::path(path).replace_extension().string(); }

}  // namespace
}  // namespace msg_consumer::test

using msg_consumer::test::Calls;

// These take the place of the C library's, for the shared libraries too. The names in the code differ from its own, for
// its headers have declared those.
extern "C" {

int recorded_open(const char* path, int flags, ...) __asm__("open");
int recorded_fsync(int fd) __asm__("fsync");
int recorded_rename(const char* from, const char* to) __asm__("rename");

int recorded_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (Calls::current != nullptr) {
    Calls::current->opened.emplace_back(path);
    if (Calls::current->nothing_exists) {
      errno = ENOENT;
      return -1;
    }
  }
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int recorded_fsync(int fd) {
  if (Calls::current != nullptr) {
    Calls::current->changes.push_back("sync " + msg_consumer::test::without_suffix(msg_consumer::test::path_of(fd)));
  }
  return static_cast<int>(syscall(SYS_fsync, fd));
}

int recorded_rename(const char* from, const char* to) {
  if (Calls::current != nullptr) {
    struct stat status {};
    if (stat(from, &status) == 0) {
      Calls::current->mode_when_renamed = status.st_mode & 07777U;
    }
    Calls::current->content_when_renamed = msg_consumer::test::read_file(from);
    Calls::current->changes.push_back("rename to " + std::string(to));
  }
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}
}

namespace msg_consumer::test {
namespace {

constexpr const char* status_key = "consumer_preference_int_consumer_status";

TEST(PreferenceCalls, AFileIsCompleteSharedAndSyncedBeforeItTakesItsPlace) {
  const TempDir folder;
  const std::string path = folder.file("preferences.ini");
  const EnvironmentVariable variable("MSG_CONSUMER_PREFERENCES", path);
  const mode_t before = umask(0077);
  const Calls calls;
  EXPECT_EQ(preference_set_int(status_key, 7), PREFERENCE_OK);
  umask(before);
  EXPECT_THAT(calls.changes, ElementsAre("sync " + path, "rename to " + path, "sync " + folder.path().string()));
  EXPECT_EQ(calls.mode_when_renamed, 0660U);
  EXPECT_EQ(calls.content_when_renamed, read_file(path));
}

struct Unset {
  const char* name;
  std::optional<std::string> value;
};

void PrintTo(const Unset& row, std::ostream* out) { *out << row.name; }

class WithoutPath : public testing::TestWithParam<Unset> {};

TEST_P(WithoutPath, TheDefaultIsUsed) {
  const EnvironmentVariable variable("MSG_CONSUMER_PREFERENCES", GetParam().value);
  Calls calls;
  calls.nothing_exists = true;
  int value = 0;
  EXPECT_EQ(preference_get_int(status_key, &value), PREFERENCE_OK);
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_NO_FOLDER);
  EXPECT_THAT(calls.opened, ElementsAre("/var/lib/msg-consumer-preferences/preferences.ini",
                                        "/var/lib/msg-consumer-preferences/preferences.ini.lock"));
}

INSTANTIATE_TEST_SUITE_P(, WithoutPath, testing::Values(Unset{"Unset", std::nullopt}, Unset{"Empty", ""}),
                         [](const testing::TestParamInfo<Unset>& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
