// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <filesystem>

#include "run-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

struct Ending {
  const char* name;
  Arguments command;
  ExitStatus status;
  const char* words;
};

class CommandEnds : public Run, public testing::WithParamInterface<Ending> {};

TEST_P(CommandEnds, AndItsStatusIsHandedOn) {
  Arguments arguments{"--"};
  arguments.insert(arguments.end(), GetParam().command.begin(), GetParam().command.end());
  const Outcome outcome = run(arguments);
  EXPECT_EQ(outcome.status, GetParam().status);
  EXPECT_THAT(outcome.err, HasSubstr(GetParam().words));
  EXPECT_TRUE(nothing_is_left());
}

INSTANTIATE_TEST_SUITE_P(
    Each, CommandEnds,
    testing::Values(Ending{"WithSuccess", {"true"}, 0, ""}, Ending{"WithAFailure", {"sh", "-c", "exit 7"}, 7, ""},
                    Ending{"WithTheHighestStatus", {"sh", "-c", "exit 255"}, 255, ""},
                    Ending{"ByASignal", {"sh", "-c", "kill -TERM $$"}, 128 + SIGTERM, ""},
                    Ending{"ByASuddenDeath", {"sh", "-c", "kill -KILL $$"}, 128 + SIGKILL, ""},
                    Ending{"BecauseThereIsNone", {"no-such-command"}, 127, "cannot run 'no-such-command': No such"},
                    Ending{"BecauseItIsNoProgram", {"/etc/passwd"}, 126, "cannot run '/etc/passwd': Permission"},
                    Ending{"BecauseItIsAFolder", {"/etc"}, 126, "cannot run '/etc': Permission"}),
    [](const auto& row) { return row.param.name; });

class Command : public Run {};

TEST_F(Command, WritesNothingOfOursWhenAllIsWell) {
  const Outcome outcome = shell("echo out; echo err >&2");
  EXPECT_EQ(outcome.out, "out\n");
  EXPECT_EQ(outcome.err, "err\n");
}

TEST_F(Command, KeepsItsOptionsAndItsOwnMark) {
  const Outcome outcome = run({"--", "printf", "%s.", "--help", "--", "--keep", ""});
  EXPECT_EQ(outcome.out, "--help.--.--keep..");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Command, MayStandWithoutAMark) {
  const Outcome outcome = run({"printf", "%s.", "--keep"});
  EXPECT_EQ(outcome.out, "--keep.");
}

TEST_F(Command, FindsTheServiceReady) {
  const Outcome outcome = shell("$MSGCTL send --to +15550100 hello && $MSGCTL show 1");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("hello"));
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Command, SeesOnlyThePrivateBusAndTheStoreInTheFolder) {
  const Outcome outcome = run(
      {"--", "sh", "-c",
       "echo \"$DBUS_SYSTEM_BUS_ADDRESS|$DBUS_SESSION_BUS_ADDRESS|$MSG_CONSUMER_DB|$MSG_CONSUMER_FILES|"
       "$MSG_CONSUMER_PREFERENCES|$MSG_CONSUMER_EXCHANGE|$DBUS_STARTER_ADDRESS|\"; stat -c %a $MSG_CONSUMER_TEST_BED; "
       "ls -d $MSG_CONSUMER_TEST_BED"},
      {{"MSG_CONSUMER_EXCHANGE", "/elsewhere"}, {"DBUS_STARTER_ADDRESS", "unix:path=/elsewhere"}});
  const std::string bed = outcome.out.substr(outcome.out.rfind(_temporary.path().string() + "/msg-consumer-test-bed-"));
  const std::string folder = bed.substr(0, bed.size() - 1);
  const std::string bus = "unix:path=" + folder + "/bus";
  EXPECT_EQ(outcome.out, bus + "|" + bus + "|" + folder + "/messages.db|" + folder + "/files|" + folder +
                             "/preferences.ini|||\n700\n" + folder + "\n");
}

TEST_F(Command, HasAFolderForFilesInEitherDirectionOnRequest) {
  const Outcome outcome = run({"--exchange", "--", "sh", "-c",
                               "test -d \"$MSG_CONSUMER_EXCHANGE\" && echo x >$MSG_CONSUMER_TEST_BED/outside && "
                               "cp $MSG_CONSUMER_TEST_BED/outside $MSG_CONSUMER_EXCHANGE/inside && "
                               "$MSGCTL mms --to +1 --file $MSG_CONSUMER_EXCHANGE/inside && "
                               "$MSGCTL mms --to +1 --file $MSG_CONSUMER_TEST_BED/outside"});
  EXPECT_EQ(outcome.status, 5) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("sent as message 1"));
  EXPECT_THAT(outcome.err, HasSubstr("refused"));
}

TEST_F(Command, MaySendFilesFromAnywhereOtherwise) {
  write_file(_folder.file("note.txt"), "text");
  const Outcome outcome = run({"--", MSGCTL_PATH, "mms", "--to", "+1", "--file", _folder.file("note.txt")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Command, MayKillTheEmulatorWhichTheNextCallStartsAgain) {
  const auto process = start_shell(
      "$MSGCTL send --to +1 first; echo ready; until test -e $RUN_TEST_MARK/gone; do sleep 0.01; done; $MSGCTL send "
      "--to +1 second && "
      "$MSGCTL conversation 1");
  ASSERT_TRUE(has_said(*process, "ready"));
  const pid_t emulator = find(fs::path(EMULATOR_PATH).filename().string().substr(0, 15));
  ASSERT_GT(emulator, 0);
  kill(emulator, SIGKILL);
  EXPECT_TRUE(wait_until([&] { return !fs::exists("/proc/" + std::to_string(emulator)); }));
  write_file(_temporary.file("gone"), "yes\n");
  const Outcome outcome = outcome_of(*process);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("sent as message 2"));
  EXPECT_THAT(outcome.out, HasSubstr("second"));
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Command, MayRunATestBedInATestBed) {
  const Outcome outcome =
      shell("$MSGCTL send --to +1 outer && $RUN -- $MSGCTL send --to +1 inner && $MSGCTL send --to +1 outer");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "sent as message 1\nsent as message 1\nsent as message 2\n");
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(Command, GetsTheDescriptorsThatNobodyElseGets) {
  Process process({"sh", "-c",
                   "exec 7>" + _folder.file("seven") +
                       "; $RUN -- sh -c 'echo given >&7; for f in /proc/[0-9]*/fd/7; do "
                       "case $(readlink $f) in */seven) cat ${f%/fd/7}/comm;; esac; done'"});
  const Outcome outcome = outcome_of(process);
  EXPECT_EQ(read_file(_folder.file("seven")), "given\n");
  EXPECT_THAT(outcome.out, HasSubstr("sh\n"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("dbus-daemon")));
  EXPECT_THAT(outcome.out, Not(HasSubstr("msg-consumer-se")));
  EXPECT_THAT(outcome.out, Not(HasSubstr("msg-consumer-em")));
}

struct Input {
  const char* name;
  const char* command_line;
  const char* out;
};

class StandardStreams : public Run, public testing::WithParamInterface<Input> {};

TEST_P(StandardStreams, AreTheCommands) {
  Process process({"sh", "-c", GetParam().command_line});
  const Outcome outcome = outcome_of(process);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, GetParam().out);
  EXPECT_TRUE(nothing_is_left());
}

INSTANTIATE_TEST_SUITE_P(
    Each, StandardStreams,
    testing::Values(Input{"InAPipe", "echo in | $RUN -- cat", "in\n"},
                    Input{"WhenTheInputCloses", "$RUN -- cat </dev/null", ""},
                    Input{"WhenTheInputIsClosedFromTheStart", "$RUN -- echo out <&-", "out\n"},
                    Input{"WhenAllIsClosedFromTheStart", "$RUN -- true <&- >&- 2>&-", ""},
                    Input{"WhenNobodyReads", "$RUN -- sh -c 'yes 2>/dev/null; true' | head -n 1", "y\n"},
                    Input{"AndNobodyElseHoldsThem", "$RUN -- sh -c 'sleep 1000 & echo out' | cat", "out\n"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Command, KeepsTheSignalsThatWereIgnored) {
  Process process({"sh", "-c", "trap '' HUP USR1; exec $RUN -- grep SigIgn /proc/self/status"});
  Process direct({"sh", "-c", "trap '' HUP USR1; exec grep SigIgn /proc/self/status"});
  EXPECT_EQ(outcome_of(process).out, outcome_of(direct).out);
}

TEST_F(Command, HearsTheSignalsThatWeAreSent) {
  const auto process = start_shell(
      "trap 'echo usr1' USR1; trap 'echo term; exit 3' TERM; echo ready; "
      "while :; do sleep 0.01; done");
  ASSERT_TRUE(has_said(*process, "ready"));
  process->signal(SIGUSR1);
  ASSERT_TRUE(has_said(*process, "usr1"));
  process->signal(SIGTERM);
  const Outcome outcome = outcome_of(*process);
  EXPECT_EQ(outcome.out, "ready\nusr1\nterm\n");
  EXPECT_EQ(outcome.status, 3) << "its own status, for it has one";
}

TEST_F(Command, LeavesTheFolderOnRequest) {
  const Outcome outcome = run({"--keep", "--", MSGCTL_PATH, "send", "--to", "+1", "kept"});
  EXPECT_EQ(outcome.status, 0);
  ASSERT_EQ(temporary_files().size(), 1U);
  const fs::path folder = _temporary.path() / temporary_files().front();
  EXPECT_EQ(outcome.err, "msg-consumer-run: kept " + folder.string() + "\n");
  EXPECT_TRUE(fs::exists(folder / "messages.db"));
  EXPECT_TRUE(fs::exists(folder / "emulator.log"));
  EXPECT_FALSE(fs::exists(folder / "bus"));
  EXPECT_THAT(alive(), IsEmpty());
  const Outcome again = run({"--store", folder / "messages.db", "--", MSGCTL_PATH, "conversation", "1"});
  EXPECT_THAT(again.out, HasSubstr("kept"));
}

class OddFolders : public Run, public testing::WithParamInterface<const char*> {};

TEST_P(OddFolders, HoldTheTestBedAsWell) {
  const fs::path folder = _temporary.path() / GetParam();
  fs::create_directory(folder);
  const Outcome outcome = run({"--", "sh", "-c",
                               "kill -KILL $($MSGCTL status --json | grep -o '\"process_id\":[0-9]*' | cut -d: -f2) && "
                               "$MSGCTL send --to +1 odd"},
                              {{"TMPDIR", folder.string()}});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "sent as message 1\n");
  EXPECT_TRUE(fs::is_empty(folder));
}

INSTANTIATE_TEST_SUITE_P(Each, OddFolders, testing::Values("a b", "a'b", "a,b=c", "<&>", "100%", "ä"));

}  // namespace
}  // namespace msg_consumer::test
