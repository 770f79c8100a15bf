// SPDX-License-Identifier: Apache-2.0
// What is the same for every command: usage, help, and a standard output that does not take what is written.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>

#include "msgctl-test.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct UsageCase {
  const char* name;
  Arguments arguments;
  const char* message;
};

class Misuse : public MsgctlWithoutService, public testing::WithParamInterface<UsageCase> {};

TEST_P(Misuse, IsSaidInWordsAndInJson) {
  const Outcome words = msgctl(GetParam().arguments);
  EXPECT_EQ(words.status, 2);
  EXPECT_EQ(words.out, "");
  EXPECT_THAT(words.err, StartsWith(std::string("msgctl: error: ") + GetParam().message));
  EXPECT_THAT(words.err, HasSubstr("--help"));

  Arguments in_json = GetParam().arguments;
  in_json.insert(in_json.begin(), "--json");
  const Outcome json = msgctl(in_json);
  EXPECT_EQ(json.status, 2);
  EXPECT_EQ(json.json_error().at("code"), "usage");
  EXPECT_THAT(json.json_error().at("message").get<std::string>(), StartsWith(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, Misuse,
    testing::Values(
        UsageCase{"NoCommand", {}, "A subcommand is required"},
        UsageCase{"UnknownCommand", {"sned"}, "there is no command 'sned'"},
        UsageCase{"UnknownCommandOfAGroup", {"thread", "raed"}, "there is no command 'thread raed'"},
        UsageCase{"UnknownOption", {"threads", "--nope"}, "The following argument was not expected: --nope"},
        UsageCase{"NoId", {"show"}, "ID is required"},
        UsageCase{"ZeroAsId", {"show", "0"}, "ID: '0' is not a whole number from 1"},
        UsageCase{"NegativeId", {"delete", "-5"}, "ID: '-5' is not a whole number from 1"},
        UsageCase{"IdTooLarge", {"show", "99999999999"}, "ID: '99999999999' is not a whole number"},
        UsageCase{"IdInAnotherForm", {"show", "0x10"}, "ID: '0x10' is not a whole number"},
        UsageCase{"NegativeLimit", {"messages", "--limit", "-1"}, "--limit: '-1' is not a whole number from 0"},
        UsageCase{"NoReceiver", {"send", "hi"}, "At least 1 option from [--to,--thread] is required"},
        UsageCase{"NoText", {"send", "--to", "+15550100"}, "TEXT is required"},
        UsageCase{"EmptyReceiver", {"send", "--to", "", "hi"}, "--to: the address is empty"},
        UsageCase{"MmsOfNothing", {"mms", "--to", "+15550100"}, "there is nothing to send"},
        UsageCase{"TimeoutOfNoTime", {"watch", "--timeout", "0"}, "--timeout: '0' is not a whole number"},
        UsageCase{"OctalId", {"show", "010"}, "ID: '010' is not a whole number"},
        UsageCase{"UnknownCommandOfAGroupInAGroup", {"nms", "meta", "sohw"}, "there is no command 'nms meta sohw'"},
        UsageCase{"ResetUnconfirmed", {"nms", "reset-box"}, "--yes is required"},
        UsageCase{"TimeThatIsNone", {"nms", "delete-before", "yesterday"}, "TIME: 'yesterday' is neither a date"},
        UsageCase{"TimeOutOfRange", {"nms", "delete-before", "2147483648"}, "TIME: '2147483648' is neither a date"},
        UsageCase{"MetadataOfNothing", {"nms", "meta", "show"}, "At least 1 option from [--message,--object] is"},
        UsageCase{"EmptyObjectId", {"nms", "meta", "show", "--object", ""}, "--object: the object id is empty"},
        UsageCase{"NegativeIndex", {"nms", "subscription", "set", "-1", "x"}, "INDEX: '-1' is not a whole number"},
        UsageCase{"IndexOf65Bits",
                  {"nms", "subscription", "set", "18446744073709551616", "x"},
                  "INDEX: '18446744073709551616' is not a whole number from 0 to 18446744073709551615"},
        UsageCase{"NoActiveThread", {"thread", "active"}, "Exactly 1 option from [ID,--none] is required"}),
    [](const auto& row) { return row.param.name; });

TEST_F(MsgctlWithoutService, HelpListsCommandsAndExitStatuses) {
  const Outcome run = msgctl({"--help"});
  EXPECT_EQ(run.status, 0);
  for (const char* command :
       {"status", "send", "threads", "conversation", "messages", "show", "read", "delete", "watch"}) {
    EXPECT_THAT(run.out, HasSubstr(std::string("\n  ") + command + " "));
  }
  EXPECT_THAT(run.out, HasSubstr("Exit status:\n  0  done"));
}

TEST_F(MsgctlWithoutService, HelpForACommandShowsAnExample) {
  EXPECT_THAT(msgctl({"send", "--help"}).out, HasSubstr("Example:\n  msgctl send --to "));
  EXPECT_THAT(msgctl({"thread", "read", "--help"}).out, HasSubstr("Example:\n  msgctl thread read "));
}

TEST_F(MsgctlWithoutService, VersionIsTold) {
  const Outcome run = msgctl({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, testing::MatchesRegex("msgctl [0-9.]+\n"));
}

TEST_F(Msgctl, ADiskThatIsFullIsAFailure) {
  send("+15550100", "hi");
  for (const char* format : {"", " --json"}) {
    const Outcome run = shell(std::string(R"("$MSGCTL" messages >/dev/full)") + format);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("No space left on device"));
  }
}

TEST_F(Msgctl, AReaderThatHasGoneEndsItQuietly) {
  send("+15550100", "hi");
  Process process([] {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) return 99;
    close(ends[0]);
    execl(MSGCTL_PATH, MSGCTL_PATH, "messages", nullptr);
    return 98;
  });
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(process.standard_error(), "");
}

}  // namespace
}  // namespace msg_consumer::test
