// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/preference.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <msg-consumer-platform/releaser.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "support/environment.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* status_key = "consumer_preference_int_consumer_status";
constexpr const char* delay_key = "consumer_preference_int_delay_noti_event";
constexpr const char* mms_key = "consumer_preference_bool_support_sending_mms";
constexpr const char* number_sync_key = "consumer_preference_bool_numbersync_supported";
constexpr const char* wpc_key = "consumer_preference_bool_wpc_mode";

constexpr int untouched = 4711;

class Preferences : public testing::Test {
 protected:
  [[nodiscard]] fs::path file() const { return _folder.path() / "preferences.ini"; }
  [[nodiscard]] fs::path lock() const { return _folder.path() / "preferences.ini.lock"; }

  void given_file(const std::string& content) const { write_file(file(), content); }
  void given_value(const std::string& key, const std::string& value) const {
    given_file("[preferences]\n" + key + "=" + value + "\n");
  }

  /// How many things there are in the folder.
  [[nodiscard]] std::ptrdiff_t entries() const { return std::distance(fs::directory_iterator(_folder.path()), {}); }

  static void use_path(const fs::path& path) { setenv("MSG_CONSUMER_PREFERENCES", path.c_str(), 1); }

  TempDir _folder;
  EnvironmentVariable _path{"MSG_CONSUMER_PREFERENCES", _folder.file("preferences.ini")};
};

mode_t mode_of(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

int int_of(const char* key) {
  int value = untouched;
  EXPECT_EQ(preference_get_int(key, &value), PREFERENCE_OK) << key;
  return value;
}

bool bool_of(const char* key) {
  bool value = false;
  EXPECT_EQ(preference_get_boolean(key, &value), PREFERENCE_OK) << key;
  return value;
}

void expect_defaults() {
  EXPECT_EQ(int_of(status_key), 0);
  EXPECT_EQ(int_of(delay_key), 0);
  EXPECT_TRUE(bool_of(mms_key));
  EXPECT_TRUE(bool_of(number_sync_key));
  EXPECT_FALSE(bool_of(wpc_key));
}

TEST_F(Preferences, AMissingFileHasAllDefaults) { expect_defaults(); }

TEST_F(Preferences, AMissingFolderHasAllDefaults) {
  use_path(_folder.path() / "no" / "such" / "folder" / "preferences.ini");
  expect_defaults();
}

TEST_F(Preferences, AnEmptyFileHasAllDefaults) {
  given_file("");
  expect_defaults();
}

TEST_F(Preferences, AFileOfOtherGroupsHasAllDefaults) {
  given_file(std::string("[other]\n") + status_key + "=1\n");
  expect_defaults();
}

TEST_F(Preferences, StoredValuesAreRead) {
  given_file(
      "[preferences]\n"
      "consumer_preference_int_consumer_status=2147483647\n"
      "consumer_preference_int_delay_noti_event=-2147483648\n"
      "consumer_preference_bool_support_sending_mms=false\n"
      "consumer_preference_bool_numbersync_supported=0\n"
      "consumer_preference_bool_wpc_mode=true\n");
  EXPECT_EQ(int_of(status_key), 2147483647);
  EXPECT_EQ(int_of(delay_key), -2147483647 - 1);
  EXPECT_FALSE(bool_of(mms_key));
  EXPECT_FALSE(bool_of(number_sync_key));
  EXPECT_TRUE(bool_of(wpc_key));
}

TEST_F(Preferences, EveryCallReadsTheFileAnew) {
  given_value(status_key, "1");
  EXPECT_EQ(int_of(status_key), 1);
  given_value(status_key, "2");
  EXPECT_EQ(int_of(status_key), 2);
  fs::remove(file());
  EXPECT_EQ(int_of(status_key), 0);
}

TEST_F(Preferences, ANullArgumentIsRefused) {
  int number = untouched;
  bool flag = true;
  EXPECT_EQ(preference_get_int(nullptr, &number), PREFERENCE_INVALID_ARGUMENT);
  EXPECT_EQ(preference_get_int(status_key, nullptr), PREFERENCE_INVALID_ARGUMENT);
  EXPECT_EQ(preference_get_boolean(nullptr, &flag), PREFERENCE_INVALID_ARGUMENT);
  EXPECT_EQ(preference_get_boolean(mms_key, nullptr), PREFERENCE_INVALID_ARGUMENT);
  EXPECT_EQ(preference_set_int(nullptr, 1), PREFERENCE_INVALID_ARGUMENT);
  EXPECT_EQ(number, untouched);
}

TEST_F(Preferences, AnUnknownKeyIsAnError) {
  given_value("consumer_preference_int_unheard_of", "1");
  int number = untouched;
  bool flag = true;
  EXPECT_EQ(preference_get_int("consumer_preference_int_unheard_of", &number), PREFERENCE_UNKNOWN_KEY);
  EXPECT_EQ(preference_get_boolean("", &flag), PREFERENCE_UNKNOWN_KEY);
  EXPECT_EQ(preference_set_int("consumer_preference_int_unheard_of", 2), PREFERENCE_UNKNOWN_KEY);
  EXPECT_EQ(number, untouched);
  EXPECT_TRUE(flag);
}

TEST_F(Preferences, AskingForTheOtherTypeIsAnError) {
  int number = untouched;
  bool flag = true;
  EXPECT_EQ(preference_get_int(mms_key, &number), PREFERENCE_WRONG_TYPE);
  EXPECT_EQ(preference_get_boolean(status_key, &flag), PREFERENCE_WRONG_TYPE);
  EXPECT_EQ(preference_set_int(wpc_key, 1), PREFERENCE_WRONG_TYPE);
  EXPECT_EQ(number, untouched);
  EXPECT_TRUE(flag);
  EXPECT_FALSE(fs::exists(file()));
}

struct BadFile {
  const char* name;
  const char* content;
  int code;
};

void PrintTo(const BadFile& row, std::ostream* out) { *out << row.name; }

class BadFiles : public Preferences, public testing::WithParamInterface<BadFile> {};

TEST_P(BadFiles, GiveTheirErrorAndNoValue) {
  given_file(GetParam().content);
  int number = untouched;
  EXPECT_EQ(preference_get_int(status_key, &number), GetParam().code);
  EXPECT_EQ(number, untouched);
}

#define STATUS_IS(value) "[preferences]\nconsumer_preference_int_consumer_status=" value "\n"

INSTANTIATE_TEST_SUITE_P(
    , BadFiles,
    testing::Values(BadFile{"AWord", STATUS_IS("ready"), PREFERENCE_WRONG_TYPE},
                    BadFile{"ABoolean", STATUS_IS("true"), PREFERENCE_WRONG_TYPE},
                    BadFile{"NoValue", STATUS_IS(""), PREFERENCE_WRONG_TYPE},
                    BadFile{"AFraction", STATUS_IS("1.5"), PREFERENCE_WRONG_TYPE},
                    BadFile{"TrailingText", STATUS_IS("1please"), PREFERENCE_WRONG_TYPE},
                    BadFile{"AboveThirtyTwoBits", STATUS_IS("2147483648"), PREFERENCE_WRONG_TYPE},
                    BadFile{"BelowThirtyTwoBits", STATUS_IS("-2147483649"), PREFERENCE_WRONG_TYPE},
                    BadFile{"AboveSixtyFourBits", STATUS_IS("99999999999999999999"), PREFERENCE_WRONG_TYPE},
                    BadFile{"ValueIsNotUtf8", STATUS_IS("\xff\xfe"), PREFERENCE_WRONG_TYPE},
                    BadFile{"NoGroup", "consumer_preference_int_consumer_status=1\n", PREFERENCE_MALFORMED_FILE},
                    BadFile{"Prose", "[preferences]\nthe service is ready\n", PREFERENCE_MALFORMED_FILE},
                    BadFile{"Binary", "\x7f\x45LF\x01\x02", PREFERENCE_MALFORMED_FILE},
                    BadFile{"OpenGroup", "[preferences\n", PREFERENCE_MALFORMED_FILE}),
    [](const testing::TestParamInfo<BadFile>& row) { return row.param.name; });

TEST_F(Preferences, ABooleanThatIsNoneIsOfTheWrongType) {
  given_value(mms_key, "perhaps");
  bool flag = true;
  EXPECT_EQ(preference_get_boolean(mms_key, &flag), PREFERENCE_WRONG_TYPE);
  EXPECT_TRUE(flag);
}

TEST_F(Preferences, AFileThatCannotBeOpenedIsUnreadable) {
  fs::create_symlink("preferences.ini", file());  // a loop: out of reach even for root
  int number = untouched;
  EXPECT_EQ(preference_get_int(status_key, &number), PREFERENCE_UNREADABLE_FILE);
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_UNREADABLE_FILE);
  EXPECT_EQ(number, untouched);
}

// What a member of the group may put in the file's or the lock's place.
struct Obstacle {
  const char* name;
  void (*put)(const fs::path& place, const fs::path& target);
};

void PrintTo(const Obstacle& row, std::ostream* out) { *out << row.name; }

constexpr Obstacle link_to_a_file{"ALinkToAFile", [](const fs::path& place, const fs::path& target) {
                                    write_file(target, "[preferences]\nconsumer_preference_int_consumer_status=1\n");
                                    fs::create_symlink(target, place);
                                  }};
constexpr Obstacle fifo{
    "AFifo", [](const fs::path& place, const fs::path& /*target*/) { ASSERT_EQ(mkfifo(place.c_str(), 0660), 0); }};
constexpr Obstacle folder{"AFolder",
                          [](const fs::path& place, const fs::path& /*target*/) { fs::create_directory(place); }};

class Obstacles : public Preferences, public testing::WithParamInterface<Obstacle> {
 protected:
  [[nodiscard]] fs::path target() const { return _folder.path() / "target"; }

  // In a process of its own, for a call that waits for the other end of a FIFO would never return.
  static std::optional<ExitStatus> code_of(const std::function<int()>& call) {
    return Process([&call] { return -call(); }).wait();
  }
};

TEST_P(Obstacles, InTheFilesPlaceAreUnreadable) {
  GetParam().put(file(), target());
  const std::string before = read_file(target());
  EXPECT_EQ(code_of([] {
              int value = untouched;
              const int code = preference_get_int(status_key, &value);
              return value == untouched ? code : PREFERENCE_OK;
            }),
            -PREFERENCE_UNREADABLE_FILE);
  EXPECT_EQ(code_of([] { return preference_set_int(delay_key, 2); }), -PREFERENCE_UNREADABLE_FILE);
  EXPECT_EQ(read_file(target()), before);
}

TEST_P(Obstacles, InTheLocksPlaceKeepTheFileFromBeingWritten) {
  GetParam().put(lock(), target());
  EXPECT_EQ(code_of([] { return preference_set_int(status_key, 1); }), -PREFERENCE_NOT_WRITTEN);
  EXPECT_FALSE(fs::exists(file()));
}

INSTANTIATE_TEST_SUITE_P(, Obstacles, testing::Values(link_to_a_file, fifo, folder),
                         [](const testing::TestParamInfo<Obstacle>& row) { return row.param.name; });

// A file of one value and a comment that fills it up to `size`.
std::string content_of_size(std::size_t size) {
  std::string content = std::string("[preferences]\n") + status_key + "=1\n#";
  content.append(size - content.size() - 1, ' ');
  return content + "\n";
}

constexpr std::size_t size_limit = std::size_t{64} * 1024;

TEST_F(Preferences, AFileOfTheGreatestSizeIsRead) {
  given_file(content_of_size(size_limit));
  EXPECT_EQ(int_of(status_key), 1);
}

TEST_F(Preferences, ALargerFileIsUnreadable) {
  given_file(content_of_size(size_limit + 1));
  int number = untouched;
  EXPECT_EQ(preference_get_int(status_key, &number), PREFERENCE_UNREADABLE_FILE);
  EXPECT_EQ(number, untouched);
}

TEST_F(Preferences, AFileThatWouldGrowTooLargeIsNotWritten) {
  const std::string before = content_of_size(size_limit);
  given_file(before);
  EXPECT_EQ(preference_set_int(delay_key, 1), PREFERENCE_NOT_WRITTEN);
  EXPECT_TRUE(read_file(file()) == before);
}

TEST_F(Preferences, AWrittenValueIsRead) {
  for (const int value : {1, 0, -1, 2147483647, -2147483647 - 1}) {
    ASSERT_EQ(preference_set_int(status_key, value), PREFERENCE_OK);
    EXPECT_EQ(int_of(status_key), value);
  }
}

TEST_F(Preferences, WritingKeepsTheRestOfTheFile) {
  given_file(
      "# edited by hand\n"
      "\n"
      "[preferences]\n"
      "# no MMS here\n"
      "consumer_preference_bool_support_sending_mms=false\n"
      "consumer_preference_int_consumer_status=ready\n"
      "unknown=kept\n"
      "\n"
      "[other]\n"
      "name[de]=Grüße\n");
  ASSERT_EQ(preference_set_int(status_key, 2), PREFERENCE_OK);
  ASSERT_EQ(preference_set_int(status_key, 1), PREFERENCE_OK);
  EXPECT_EQ(read_file(file()),
            "# edited by hand\n"
            "\n"
            "[preferences]\n"
            "# no MMS here\n"
            "consumer_preference_bool_support_sending_mms=false\n"
            "consumer_preference_int_consumer_status=1\n"
            "unknown=kept\n"
            "\n"
            "[other]\n"
            "name[de]=Grüße\n");
}

TEST_F(Preferences, WritingRefusesAMalformedFileAndLosesNothing) {
  const std::string garbage = "[preferences]\nconsumer_preference_int_delay_noti_event=5\nthis is garbage\n";
  given_file(garbage);
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_MALFORMED_FILE);
  EXPECT_EQ(read_file(file()), garbage);
}

TEST_F(Preferences, WritingIntoAMissingFolderIsAnErrorOfItsOwn) {
  use_path(_folder.path() / "missing" / "preferences.ini");
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_NO_FOLDER);
  EXPECT_FALSE(fs::exists(_folder.path() / "missing"));
}

TEST_F(Preferences, WritingBelowAFileIsLikeWritingIntoAMissingFolder) {
  given_file("");
  use_path(file() / "preferences.ini");
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_NO_FOLDER);
}

TEST_F(Preferences, AFailedWriteKeepsTheOldFile) {
  given_value(status_key, "1");
  const std::string before = read_file(file());
  Process writer([] {
    const rlimit nothing{0, 0};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &nothing) != 0) {
      return 2;
    }
    return preference_set_int(status_key, 2) == PREFERENCE_NOT_WRITTEN ? 0 : 1;
  });
  EXPECT_EQ(writer.wait(), 0);
  EXPECT_EQ(read_file(file()), before);
  EXPECT_EQ(entries(), 2) << "besides the file and its lock, the half-written one is left";
}

TEST_F(Preferences, WritingDoesNotWaitForeverForTheLock) {
  ASSERT_EQ(preference_set_int(status_key, 1), PREFERENCE_OK);
  const Owned<std::FILE, std::fclose> held(std::fopen(lock().c_str(), "r"));
  ASSERT_TRUE(held);
  ASSERT_EQ(flock(fileno(held.get()), LOCK_EX), 0);
  Process writer([] { return preference_set_int(status_key, 2) == PREFERENCE_BUSY ? 0 : 1; });
  EXPECT_EQ(writer.wait(), 0);
  EXPECT_EQ(int_of(status_key), 1);
}

TEST_F(Preferences, ALinkInTheLocksPlaceIsNotFollowed) {
  const fs::path target = _folder.path() / "target";
  write_file(target, "somebody's own");
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(target, lock());
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_NOT_WRITTEN);
  EXPECT_EQ(mode_of(target), 0600U);
  EXPECT_FALSE(fs::exists(file()));
}

TEST_F(Preferences, TheGroupMayWriteWhateverTheUmask) {
  const mode_t before = umask(0077);
  EXPECT_EQ(preference_set_int(status_key, 1), PREFERENCE_OK);
  umask(before);
  EXPECT_EQ(mode_of(file()), 0660U);
  EXPECT_EQ(mode_of(lock()), 0660U);
}

TEST_F(Preferences, NothingButTheFileAndItsLockIsLeftBehind) {
  ASSERT_EQ(preference_set_int(status_key, 1), PREFERENCE_OK);
  ASSERT_EQ(preference_set_int(status_key, 2), PREFERENCE_OK);
  EXPECT_EQ(entries(), 2);
  EXPECT_TRUE(fs::exists(lock()));
}

TEST_F(Preferences, NoCallLeaksADescriptor) {
  const auto open_descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto before = open_descriptors();
  for (const char* content : {"", "garbage"}) {
    given_file(content);
    int value = 0;
    preference_get_int(status_key, &value);
    preference_set_int(status_key, 1);
  }
  EXPECT_EQ(open_descriptors(), before);
}

// Writes one key alone, again and again: whatever it has written must still be there. Returns the number of misses.
int write_repeatedly(const char* key, int rounds) {
  int misses = 0;
  for (int round = 1; round <= rounds; ++round) {
    int value = untouched;
    const bool kept = preference_set_int(key, round) == PREFERENCE_OK &&
                      preference_get_int(key, &value) == PREFERENCE_OK && value == round;
    misses += kept ? 0 : 1;
  }
  return misses;
}

constexpr int rounds = 100;

TEST_F(Preferences, TwoProcessesLoseNoUpdateOfEachOther) {
  Process status_writer([] { return write_repeatedly(status_key, rounds) == 0 ? 0 : 1; });
  Process delay_writer([] { return write_repeatedly(delay_key, rounds) == 0 ? 0 : 1; });
  EXPECT_EQ(status_writer.wait(std::chrono::minutes(1)), 0);
  EXPECT_EQ(delay_writer.wait(std::chrono::minutes(1)), 0);
  EXPECT_EQ(int_of(status_key), rounds);
  EXPECT_EQ(int_of(delay_key), rounds);
}

TEST_F(Preferences, TwoThreadsLoseNoUpdateOfEachOther) {
  int status_misses = -1;
  std::thread status_writer([&status_misses] { status_misses = write_repeatedly(status_key, rounds); });
  const int delay_misses = write_repeatedly(delay_key, rounds);
  status_writer.join();
  EXPECT_EQ(status_misses, 0);
  EXPECT_EQ(delay_misses, 0);
}

TEST_F(Preferences, AReaderSeesOldOrNewAndNothingBetween) {
  given_value(mms_key, "false");
  Process writer([] { return write_repeatedly(status_key, rounds); });
  int last = 0;
  while (writer.running()) {
    const int seen = int_of(status_key);
    ASSERT_GE(seen, last) << "a part of the file was missing";
    ASSERT_FALSE(bool_of(mms_key));
    last = seen;
  }
  EXPECT_EQ(writer.wait(), 0);
  EXPECT_EQ(int_of(status_key), rounds);
}

}  // namespace
}  // namespace msg_consumer::test
