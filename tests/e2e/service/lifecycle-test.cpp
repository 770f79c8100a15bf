// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <cstring>
#include <filesystem>

#include "service-on-bus.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class Lifecycle : public ServiceOnBus {
 protected:
  using Service = std::unique_ptr<test::Process>;

  static Service start() {
    auto service = std::make_unique<test::Process>(std::vector<std::string>{SERVICE_PROGRAM});
    EXPECT_TRUE(becomes_ready());
    return service;
  }

  static bool has_open(pid_t process, const std::string& file) {
    std::error_code ended;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", ended)) {
      if (fs::read_symlink(entry, ended) == file) {
        return true;
      }
    }
    return false;
  }

  /// Stores one message with a file, and returns where the file is.
  fs::path store_an_attachment() {
    test::write_file(folder.file("note.txt"), "text");
    const Service service = start();
    Client client(bus.address());
    EXPECT_THAT(
        client
            .call("send_message", g_variant_new("(sisssi)", "mms", 0, "+4917", "", folder.file("note.txt").c_str(), 1))
            .integers(),
        ElementsAre(1, 0));
    service->signal(SIGTERM);
    EXPECT_EQ(service->wait(), 0);
    return folder.path() / "files" / "1" / "1-note.txt";
  }
};

class CleanEnds : public Lifecycle, public testing::WithParamInterface<int> {};

TEST_P(CleanEnds, ClearTheReadinessAndExitWithSuccess) {
  const Service service = start();
  service->signal(GetParam());
  EXPECT_EQ(service->wait(), 0);
  EXPECT_EQ(readiness(), 0);
  EXPECT_EQ(service->standard_error(), "");
}

INSTANTIATE_TEST_SUITE_P(EachSignal, CleanEnds, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& row) { return std::string(sigabbrev_np(row.param)); });

TEST_F(Lifecycle, ASignalDuringTheStartEndsItAtOnce) {
  const Service first = start();
  test::Process second({SERVICE_PROGRAM});
  const std::string lock = path + ".lock";
  ASSERT_TRUE(test::wait_until([&] { return has_open(second.pid(), lock); })) << "it waits for the first one's lock";
  second.signal(SIGTERM);
  EXPECT_EQ(second.wait(), -SIGTERM);
  EXPECT_EQ(readiness(), 1);
}

TEST_F(Lifecycle, AfterASuddenDeathTheSuccessorIsReady) {
  const Service service = start();
  service->signal(SIGKILL);
  EXPECT_EQ(service->wait(), -SIGKILL);
  EXPECT_EQ(readiness(), 1) << "a dead instance cannot clear it";
  ASSERT_EQ(preference_set_int("consumer_preference_int_consumer_status", 0), 0);
  Client client(bus.address());
  EXPECT_THAT(client.send("+4917", "wakes the successor"), ElementsAre(1, 0));
  EXPECT_TRUE(becomes_ready());
}

TEST_F(Lifecycle, ASecondInstanceIsRefusedInWords) {
  const Service first = start();
  test::Process second({SERVICE_PROGRAM});
  EXPECT_EQ(second.wait(), 1);
  EXPECT_THAT(second.standard_error(), HasSubstr("another instance of the service is running"));
  EXPECT_EQ(readiness(), 1);
  EXPECT_TRUE(first->running());
  Client client(bus.address());
  EXPECT_THAT(client.send("+4917", "the first one answers"), ElementsAre(1, 0));
}

TEST_F(Lifecycle, AnotherOwnerOfTheNameIsReported) {
  const Service first = start();
  const test::EnvironmentVariable other_database("MSG_CONSUMER_DB", folder.file("other.db"));
  const test::EnvironmentVariable other_files("MSG_CONSUMER_FILES", folder.file("other-files"));
  fs::create_directory(folder.file("other-files"));
  test::write_file(folder.file("other-files/.incoming-1"), "nobody's yet");
  test::Process second({SERVICE_PROGRAM});
  EXPECT_EQ(second.wait(), 1);
  EXPECT_THAT(second.standard_error(), HasSubstr("another process owns the name"));
  EXPECT_EQ(readiness(), 1);
  EXPECT_TRUE(fs::exists(folder.file("other-files/.incoming-1"))) << "it cleans up only what it serves";
}

TEST_F(Lifecycle, AnotherDatabaseDoesNotTouchTheAttachments) {
  const fs::path attachment = store_an_attachment();
  const test::EnvironmentVariable other_database("MSG_CONSUMER_DB", folder.file("other.db"));
  test::Process service({SERVICE_PROGRAM});
  EXPECT_EQ(service.wait(), 1);
  EXPECT_THAT(service.standard_error(), HasSubstr("are another database's"));
  EXPECT_EQ(test::read_file(attachment), "text");
}

TEST_F(Lifecycle, ADamagedDatabaseIsReportedAndLeftAlone) {
  const std::string garbage(4096, 'x');
  test::write_file(path, garbage);
  test::Process service({SERVICE_PROGRAM});
  EXPECT_EQ(service.wait(), 1);
  EXPECT_THAT(service.standard_error(), HasSubstr("is damaged"));
  EXPECT_EQ(test::read_file(path), garbage);
  EXPECT_EQ(readiness(), 0);
}

TEST_F(Lifecycle, ArgumentsAreRefused) {
  test::Process service({SERVICE_PROGRAM, "--frobnicate"});
  EXPECT_EQ(service.wait(), 1);
  EXPECT_THAT(service.standard_error(), HasSubstr("takes no arguments"));
}

TEST_F(Lifecycle, TheServiceEndsWithItsBusAndIsStartedByTheNext) {
  const Service service = start();
  bus.kill();
  EXPECT_NE(service->wait(), std::nullopt);
  EXPECT_EQ(readiness(), 0);
  bus.start();
  Client client(bus.address());
  EXPECT_THAT(client.send("+4917", "hello again"), ElementsAre(1, 0));
}

TEST_F(Lifecycle, AQueuedMessageOfADeadInstanceIsDelivered) {
  Client client(bus.address());
  ASSERT_THAT(client.send("+4917", "hurry"), ElementsAre(1, 0));
  ASSERT_EQ(kill(client.service_pid(), SIGKILL), 0);
  ASSERT_TRUE(test::wait_until([&] { return client.service_pid() == 0; }));
  client.ask_bus("StartServiceByName", g_variant_new("(su)", BUS_NAME, 0));
  EXPECT_TRUE(test::wait_until([] {
    Message message;
    return db::db_get_message(1, message) == db::DB_OK && message.num_f == 4;
  }));
}

}  // namespace
}  // namespace msg_consumer::service
