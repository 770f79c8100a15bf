// SPDX-License-Identifier: Apache-2.0
// A service or a bus that cannot be reached.
#include <gmock/gmock.h>

#include <chrono>

#include "msgctl-test.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

using Clock = std::chrono::steady_clock;

TEST_F(MsgctlWithoutService, AServiceThatIsNotInstalledIsNotWaitedFor) {
  const auto start = Clock::now();
  const Outcome run = msgctl({"send", "--to", "+15550100", "hi"});
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(4));
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, HasSubstr("the service com.velmora.message.consumer is not installed"));
}

TEST_F(MsgctlWithoutService, ABusThatIsNotThereIsNotWaitedFor) {
  _bus.stop();
  const auto start = Clock::now();
  const Outcome run = msgctl({"--json", "delete", "1"});
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(4));
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.json_error().at("code"), "unreachable");
  EXPECT_THAT(run.json_error().at("message").get<std::string>(), HasSubstr("cannot reach the system message bus"));
}

TEST_F(MsgctlWithoutService, AServiceThatDoesNotComeUpIsWaitedForAWhile) {
  install_service("/bin/true");
  const auto start = Clock::now();
  const Outcome run = msgctl({"read", "1"});
  EXPECT_GE(Clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.err, HasSubstr("the service did not become ready within 5 s"));
}

TEST_F(MsgctlWithoutService, AServiceThatDiedReadyAndIsGoneDoesNotAnswer) {
  write_file(_folder.path() / "preferences.ini", "[preferences]\nconsumer_preference_int_consumer_status=1\n");
  const Outcome run = msgctl({"read", "1"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.err, HasSubstr("cannot mark as read message 1: the service did not answer"));
}

TEST_F(MsgctlWithoutService, StatusTellsWhatIsWrong) {
  const Outcome run = msgctl({"status"});
  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.out, HasSubstr("service:    not installed\nconnection: none\nstore:      not readable\n"));
  EXPECT_THAT(run.err, HasSubstr("is not installed"));

  _bus.stop();
  const Json status = msgctl({"status", "--json"}).json().at("item");
  EXPECT_EQ(status.at("bus_reachable"), false);
  EXPECT_EQ(status.at("connected"), false);
  EXPECT_EQ(status.at("store"), nullptr);
}

}  // namespace
}  // namespace msg_consumer::test
