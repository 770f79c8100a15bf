// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "run-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
namespace fs = std::filesystem;

// What a careless command leaves: a child, one in a session of its own that no longer has a parent, and one that will
// not hear.
constexpr const char* careless =
    "sleep 1000 & "
    "(setsid sh -c 'sleep 1000 & exec sleep 1000' &) ; "
    "(setsid sh -c 'trap \"\" TERM HUP INT; echo deaf; while :; do sleep 1000; done' &) ; ";

// Who is sent a signal, by the beginning of its name; the runner itself has none.
constexpr const char* runner = "";
constexpr const char* keeper = "test-bed-keeper";
constexpr const char* bus = "dbus-daemon";
constexpr const char* command = "sh";

struct Death {
  const char* name;
  const char* victim;
  int signal;
  ExitStatus status;
  const char* words;
};

class SuddenDeath : public Run, public testing::WithParamInterface<Death> {
 protected:
  pid_t victim(Process& process) const {
    if (GetParam().victim == command) return std::stoi(process.standard_output());
    return GetParam().victim == runner ? process.pid() : find(GetParam().victim);
  }
};

TEST_P(SuddenDeath, LeavesNothing) {
  const auto process = start_shell(std::string("echo $$; ") + careless + "echo ready; sleep 1000 & wait");
  ASSERT_TRUE(has_said(*process, "ready") && has_said(*process, "deaf"));
  ASSERT_THAT(temporary_files(), SizeIs(1));
  const pid_t target = victim(*process);
  ASSERT_GT(target, 0);
  ASSERT_EQ(kill(target, GetParam().signal), 0);
  const Outcome outcome = outcome_of(*process);
  EXPECT_EQ(outcome.status, GetParam().status);
  EXPECT_THAT(outcome.err, HasSubstr(GetParam().words));
  EXPECT_TRUE(nothing_is_left());
}

INSTANTIATE_TEST_SUITE_P(Each, SuddenDeath,
                         testing::Values(Death{"OfTheRunner", runner, SIGKILL, -SIGKILL, ""},
                                         Death{"OfTheKeeper", keeper, SIGKILL, 125,
                                               "the process that keeps the test bed ended early (killed by signal 9)"},
                                         Death{"OfTheCommand", command, SIGKILL, 128 + SIGKILL, ""},
                                         Death{"OfTheBus", bus, SIGKILL, 125,
                                               "the private message bus ended (killed by signal 9)"},
                                         Death{"OfTheBusWhenAsked", bus, SIGTERM, 125, "the private message bus ended"},
                                         Death{"ByAnInterrupt", runner, SIGINT, 128 + SIGINT, ""},
                                         Death{"ByAQuit", runner, SIGQUIT, 128 + SIGQUIT, ""},
                                         Death{"ByATermination", runner, SIGTERM, 128 + SIGTERM, ""},
                                         Death{"ByAHangUp", runner, SIGHUP, 128 + SIGHUP, ""},
                                         Death{"ByATerminationOfTheKeeper", keeper, SIGTERM, 128 + SIGTERM, ""}),
                         [](const auto& row) { return row.param.name; });

class Leftovers : public Run {};

TEST_F(Leftovers, OfACommandThatEndsAreEnded) {
  const Outcome outcome = shell(std::string(careless) + "exit 3");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Leftovers, ThatAreStoppedAreEnded) {
  EXPECT_EQ(shell("sleep 1000 & kill -STOP $!; exit 4").status, 4);
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Leftovers, AreAskedFirstWithServiceAndBusAtHand) {
  const std::string result = _folder.file("result");
  const Outcome outcome = shell("setsid sh -c 'trap \"$MSGCTL status >/dev/null && echo asked >" + result +
                                "; exit\" TERM; echo ready >$MSG_CONSUMER_TEST_BED/ready; while :; do sleep 0.01; "
                                "done' & until test -s $MSG_CONSUMER_TEST_BED/ready; do sleep 0.01; done");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(read_file(result), "asked\n");
}

TEST_F(Leftovers, AreNoneOfARunThatIsKilledWithItsWholeProcessGroup) {
  Process process({"setsid", "sh", "-c", std::string("exec $RUN -- sh -c '") + "sleep 1000 & echo ready; sleep 1000'"});
  ASSERT_TRUE(has_said(process, "ready"));
  ASSERT_EQ(kill(-process.pid(), SIGKILL), 0);
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Leftovers, AreNoneWhenTheEmulatorAndTheBusAreGone) {
  const auto process = start_shell("echo ready; sleep 1000");
  ASSERT_TRUE(has_said(*process, "ready"));
  for (const std::string& name : {fs::path(EMULATOR_PATH).filename().string().substr(0, 15), std::string(bus)}) {
    const pid_t victim = find(name);
    ASSERT_GT(victim, 0);
    kill(victim, SIGKILL);
  }
  EXPECT_EQ(outcome_of(*process).status, 125);
  EXPECT_TRUE(nothing_is_left());
}

// Each moment of the start: whichever process is there first is where the signal falls.
class EarlyDeath : public Run, public testing::WithParamInterface<Death> {};

TEST_P(EarlyDeath, LeavesNothing) {
  const auto process = start({"--", "sleep", "1000"});
  const pid_t reached = find(GetParam().victim);
  ASSERT_GT(reached, 0);
  process->signal(GetParam().signal);
  EXPECT_EQ(outcome_of(*process).status, GetParam().status);
  EXPECT_TRUE(nothing_is_left());
}

INSTANTIATE_TEST_SUITE_P(Each, EarlyDeath,
                         testing::Values(Death{"WithTheKeeper", keeper, SIGKILL, -SIGKILL, ""},
                                         Death{"WithTheBus", bus, SIGKILL, -SIGKILL, ""},
                                         Death{"WithTheKeeperAsked", keeper, SIGTERM, 128 + SIGTERM, ""},
                                         Death{"WithTheBusAsked", bus, SIGTERM, 128 + SIGTERM, ""},
                                         Death{"WithTheBusInterrupted", bus, SIGINT, 128 + SIGINT, ""}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Leftovers, OfACommandThatDoesNotHearAreEndedAfterAWhile) {
  const auto process = start_shell("trap '' TERM; echo ready; while :; do sleep 1000; done");
  ASSERT_TRUE(has_said(*process, "ready"));
  process->signal(SIGTERM);
  EXPECT_EQ(process->wait(std::chrono::seconds(20)), 128 + SIGTERM);
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Leftovers, WithoutTheRightToWriteAreRemoved) {
  EXPECT_EQ(shell("mkdir $MSG_CONSUMER_TEST_BED/a && touch $MSG_CONSUMER_TEST_BED/a/b && "
                  "chmod 0 $MSG_CONSUMER_TEST_BED/a")
                .status,
            0);
  EXPECT_TRUE(nothing_is_left());
}

// A shell that became msg-consumer-run has children that are none of ours.
class OtherChildren : public Run, public testing::WithParamInterface<Death> {};

TEST_P(OtherChildren, OfAShellAreLeftAlone) {
  Process process(
      {"sh", "-c", "env -u RUN_TEST_MARK sleep 1000 & echo $!; exec $RUN -- sh -c 'echo ready; sleep 1000'"});
  ASSERT_TRUE(has_said(process, "ready"));
  const pid_t child = std::stoi(process.standard_output());
  const pid_t victim = *GetParam().victim == '\0' ? process.pid() : find(GetParam().victim);
  ASSERT_GT(victim, 0);
  kill(victim, GetParam().signal);
  ASSERT_TRUE(process.wait());
  EXPECT_TRUE(nothing_is_left());
  EXPECT_EQ(kill(child, SIGKILL), 0) << "it lives on until now";
}

INSTANTIATE_TEST_SUITE_P(Each, OtherChildren,
                         testing::Values(Death{"AtTheEnd", runner, SIGTERM, 128 + SIGTERM, ""},
                                         Death{"AtTheKeepersDeath", keeper, SIGKILL, 125, ""}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
