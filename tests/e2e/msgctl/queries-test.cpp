// SPDX-License-Identifier: Apache-2.0
// Commands that only read.
#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

#include "msgctl-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::ptrdiff_t characters_of(const std::string& text) {
  return std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xc0) != 0x80; });
}

std::vector<int> ids_of(const Json& list) {
  std::vector<int> ids;
  for (const Json& item : list.at("items")) ids.push_back(item.at("message_id"));
  return ids;
}

TEST_F(Msgctl, StatusStartsTheServiceAndTellsOfServiceAndStore) {
  const Outcome run = msgctl({"status"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(lines_of(run.out), ElementsAre(StartsWith("service:    running, process "), "connection: ready",
                                             "store:      0 threads, 0 messages, 0 unread", "device:     no requests",
                                             StartsWith("msgctl:     ")));
}

TEST_F(Msgctl, StatusCountsWhatTheStoreHolds) {
  send("+15550100", "first");
  send("+15550100", "second");
  send("+15550101", "third");
  const Json status = msgctl({"status", "--json"}).json();
  EXPECT_EQ(status.at("kind"), "status");
  EXPECT_EQ(status.at("item").at("connected"), true);
  EXPECT_EQ(status.at("item").at("store"), Json::parse(R"({"threads": 2, "messages": 3, "unread": 0})"));
  EXPECT_EQ(status.at("item").at("service").at("process_id"), service_process());
}

TEST_F(Msgctl, QueriesNeedNoService) {
  send("+15550100", "hi");
  _bus.stop();
  EXPECT_EQ(msgctl({"threads"}).status, 0);
  EXPECT_EQ(msgctl({"conversation", "1"}).status, 0);
  EXPECT_EQ(msgctl({"messages"}).status, 0);
  EXPECT_EQ(msgctl({"show", "1"}).status, 0);
  EXPECT_EQ(msgctl({"addresses", "1"}).status, 0);
  EXPECT_EQ(msgctl({"find-thread", "+15550100"}).out, "1\n");
}

TEST_F(Msgctl, TablesAlignWideAndCombiningCharacters) {
  send("+15550100", "你好");
  send("+15550100", "Gru\u0308ße");
  send("+15550100", "plain");
  const auto lines = lines_of(msgctl({"conversation", "1"}).out);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_THAT(lines[0], testing::MatchesRegex("ID  TIME              FROM  STATE +TEXT"));
  EXPECT_THAT(lines[1], testing::MatchesRegex(" 1  ....-..-.. ..:..  me    [a-z]+ +你好"));
  EXPECT_THAT(lines[2], testing::MatchesRegex(" 2  ....-..-.. ..:..  me    [a-z]+ +Gru\u0308ße"));
}

TEST_F(Msgctl, TablesFitTheScreenAndMarkWhatWasCut) {
  send("+15550100", std::string(300, 'x'));
  for (const char* width : {"40", "80", "140"}) {
    const auto lines = lines_of(msgctl({"messages"}, {{"COLUMNS", width}}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(characters_of(lines[1]), std::stol(width));
    EXPECT_THAT(lines[1], testing::EndsWith("x…"));
  }
}

TEST_F(Msgctl, ControlCharactersOfAMessageNeverReachTheTerminal) {
  ASSERT_EQ(shell(R"(printf 'red \033[31m\r\n2nd' | "$MSGCTL" send --to +15550100 -)").status, 0);
  EXPECT_THAT(msgctl({"messages"}).out, HasSubstr(R"(red \x1b[31m\r\n2nd)"));
  EXPECT_THAT(msgctl({"threads"}).out, HasSubstr(R"(red \x1b[31m\r\n2nd)"));
  EXPECT_THAT(msgctl({"show", "1"}).out, HasSubstr("\nred \\x1b[31m\\r\n2nd\n"));
}

TEST_F(Msgctl, ThereIsColourOnATerminalOnly) {
  send("+15550100", "hi");
  const std::string in_terminal = R"(script -qec '"$MSGCTL" threads' /dev/null)";
  EXPECT_THAT(shell("TERM=xterm " + in_terminal).out, HasSubstr("\033[1mID\033[0m"));
  EXPECT_THAT(shell("TERM=xterm NO_COLOR=1 " + in_terminal).out, Not(HasSubstr("\033")));
  EXPECT_THAT(msgctl({"threads"}, {{"TERM", "xterm"}}).out, Not(HasSubstr("\033")));
}

TEST_F(Msgctl, ShowTellsEverythingAboutAMessage) {
  send("+15550100", "first line\nsecond line");
  ASSERT_TRUE(wait_until([&] { return message(1).at("delivery") == "delivered"; }));
  const auto lines = lines_of(msgctl({"show", "1"}).out);
  EXPECT_THAT(lines, ElementsAre("Message:     1", "Thread:      1", "Type:        sms, outgoing",
                                 "To:          +15550100", StartsWith("Time:        20"), "Delivery:    delivered",
                                 "Marks:       read", "SIM:         0", "", "first line", "second line"));
}

struct FilterCase {
  const char* name;
  Arguments arguments;
  std::vector<int> expected;
};

class Filters : public Msgctl, public testing::WithParamInterface<FilterCase> {
 protected:
  void SetUp() override {
    send("+15550100", "Lunch at one?");
    send("ana@example.org", "Grüße aus Zürich");
    send("+15550100", "Or at half past?");
    send("ana@example.org", "100% sure");
  }
};

TEST_P(Filters, ChooseMessages) {
  Arguments arguments = {"messages", "--json"};
  arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
  const Outcome run = msgctl(arguments);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ids_of(run.json()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Options, Filters,
    testing::Values(FilterCase{"None", {}, {4, 3, 2, 1}}, FilterCase{"OldestFirst", {"--oldest-first"}, {1, 2, 3, 4}},
                    FilterCase{"Thread", {"--thread", "2"}, {4, 2}}, FilterCase{"UnknownThread", {"--thread", "9"}, {}},
                    FilterCase{"KeywordInTheText", {"--keyword", "ZÜRICH"}, {2}},
                    FilterCase{"KeywordInAnAddress", {"--keyword", "EXAMPLE"}, {4, 2}},
                    FilterCase{"ShortKeyword", {"--keyword", "%"}, {4}},
                    FilterCase{"KeywordOfNoMessage", {"--keyword", "nothing"}, {}},
                    FilterCase{"Limit", {"--limit", "2"}, {4, 3}},
                    FilterCase{"LimitOfNone", {"--limit", "0"}, {4, 3, 2, 1}},
                    FilterCase{"Offset", {"--limit", "2", "--offset", "1"}, {3, 2}},
                    FilterCase{"OffsetBehindTheEnd", {"--offset", "4"}, {}}, FilterCase{"Unread", {"--unread"}, {}},
                    FilterCase{
                        "AllOfThem", {"--thread", "1", "--keyword", "at", "--oldest-first", "--limit", "1"}, {1}}),
    [](const auto& row) { return row.param.name; });

TEST_F(Msgctl, AListWithNothingInItIsNoFailure) {
  ASSERT_EQ(msgctl({"status"}).status, 0);
  for (const char* command : {"threads", "messages"}) {
    const Outcome run = msgctl({command});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, std::string("No ") + command + ".\n");
    EXPECT_THAT(msgctl({command, "--json"}).json().at("items"), IsEmpty());
  }
}

struct MissingCase {
  const char* name;
  Arguments arguments;
  const char* message;
};

class WhatIsMissing : public Msgctl, public testing::WithParamInterface<MissingCase> {};

TEST_P(WhatIsMissing, IsNotFound) {
  send("+15550100", "hi");
  const Outcome words = msgctl(GetParam().arguments);
  EXPECT_EQ(words.status, 3);
  EXPECT_EQ(words.out, "");
  EXPECT_THAT(words.err, StartsWith(std::string("msgctl: error: ") + GetParam().message + "\n"));

  Arguments in_json = GetParam().arguments;
  in_json.emplace_back("--json");
  const Json error = msgctl(in_json).json_error();
  EXPECT_EQ(error.at("code"), "not-found");
  EXPECT_EQ(error.at("exit_code"), 3);
  EXPECT_EQ(error.at("message"), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Queries, WhatIsMissing,
    testing::Values(MissingCase{"Message", {"show", "9"}, "there is no message 9"},
                    MissingCase{"Thread", {"conversation", "9"}, "there is no thread 9"},
                    MissingCase{"ThreadForAddresses", {"addresses", "9"}, "there is no thread 9"},
                    MissingCase{"Address", {"find-thread", "+1999"}, "there is no thread with +1999 alone"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Msgctl, AStoreThatIsNotThereIsAFailureThatTellsWhatToDo) {
  const Outcome run = msgctl({"threads"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, HasSubstr("cannot list the threads: the message store cannot be read"));
  EXPECT_THAT(run.err, HasSubstr("msgctl status"));
}

TEST_F(Msgctl, TheLibraryIsSilentUnlessAskedToSpeak) {
  const std::string mark = "MSG_CONSUMER";
  EXPECT_THAT(msgctl({"threads"}).err, Not(HasSubstr(mark)));
  EXPECT_THAT(msgctl({"threads", "--debug"}).err, HasSubstr(mark));
  EXPECT_THAT(msgctl({"threads"}, {{"MSG_CONSUMER_LOG_LEVEL", "6"}}).err, HasSubstr(mark));
}

}  // namespace
}  // namespace msg_consumer::test
