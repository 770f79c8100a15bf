// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/preference.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "service/instance-lock.hpp"
#include "service/locations.hpp"
#include "service/readiness.hpp"
#include "support/environment.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::service {
namespace {

using test::EnvironmentVariable;

class Instance : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds NONE{0};

  static int readiness() {
    int value = -1;
    EXPECT_EQ(preference_get_int("consumer_preference_int_consumer_status", &value), 0);
    return value;
  }

  /// How many descriptors of this process stand for a file.
  static int times_open(const std::string& file) {
    int count = 0;
    std::error_code closed_meanwhile;
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
      count += std::filesystem::read_symlink(descriptor, closed_meanwhile) == file ? 1 : 0;
    }
    return count;
  }

  test::TempDir folder;
  EnvironmentVariable preferences{"MSG_CONSUMER_PREFERENCES", folder.file("preferences.ini")};
  std::string database = folder.file("messages.db");
};

TEST_F(Instance, TheSecondOneIsRefusedUntilTheFirstIsGone) {
  {
    const InstanceLock first(database, NONE);
    try {
      const InstanceLock second(database, NONE);
      ADD_FAILURE() << "two instances";
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr("another instance"));
    }
  }
  EXPECT_NO_THROW((InstanceLock{database, NONE}));
}

TEST_F(Instance, ASuccessorWaitsForOneThatIsEnding) {
  auto first = std::make_unique<InstanceLock>(database, NONE);
  std::thread successor([&] { EXPECT_NO_THROW((InstanceLock{database, std::chrono::seconds(10)})); });
  EXPECT_TRUE(test::wait_until([&] { return times_open(database + ".lock") == 2; })) << "the successor is there";
  first.reset();
  successor.join();
}

TEST_F(Instance, NobodyElseCanTakeItsLock) {
  const std::string file = database + ".lock";
  test::write_file(file, "");
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  const InstanceLock lock(database, NONE);
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
}

TEST_F(Instance, OnesOfOtherDatabasesDoNotMatter) {
  const InstanceLock first(database, NONE);
  EXPECT_NO_THROW((InstanceLock{folder.file("other.db"), NONE}));
}

TEST_F(Instance, AMissingFolderIsReported) {
  EXPECT_THROW((InstanceLock{folder.file("missing/messages.db"), NONE}), std::runtime_error);
}

TEST_F(Instance, IsReadyAsLongAsItSaysSo) {
  const InstanceLock lock(database, NONE);
  {
    const Readiness ready(lock);
    EXPECT_EQ(readiness(), 1);
  }
  EXPECT_EQ(readiness(), 0);
}

TEST_F(Instance, CannotBeReadyWhenItCannotSaySo) {
  const InstanceLock lock(database, NONE);
  const EnvironmentVariable nowhere("MSG_CONSUMER_PREFERENCES", folder.file("missing/preferences.ini"));
  EXPECT_THROW(Readiness{lock}, std::runtime_error);
}

TEST(Places, AreTheDefaultOnesUnlessTheEnvironmentNamesOthers) {
  const EnvironmentVariable no_database("MSG_CONSUMER_DB", std::nullopt);
  const EnvironmentVariable no_files("MSG_CONSUMER_FILES", std::nullopt);
  const EnvironmentVariable no_exchange("MSG_CONSUMER_EXCHANGE", std::nullopt);
  EXPECT_EQ(locations().database, "/var/lib/msg-consumer/messages.db");
  EXPECT_EQ(locations().files, "/var/lib/msg-consumer/files");
  EXPECT_EQ(locations().exchange, "");
  const EnvironmentVariable database("MSG_CONSUMER_DB", "/elsewhere/m.db");
  const EnvironmentVariable files("MSG_CONSUMER_FILES", "/elsewhere/files");
  EXPECT_EQ(locations().database, "/elsewhere/m.db");
  EXPECT_EQ(locations().files, "/elsewhere/files");
  const EnvironmentVariable exchange("MSG_CONSUMER_EXCHANGE", "/elsewhere/exchange");
  EXPECT_EQ(locations().exchange, "/elsewhere/exchange");
}

}  // namespace
}  // namespace msg_consumer::service
