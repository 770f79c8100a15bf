// SPDX-License-Identifier: Apache-2.0
// Commands that change something.
#include <gmock/gmock.h>

#include <csignal>

#include "msgctl-test.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST_F(Msgctl, SendStartsTheServiceAndPrintsTheIdOfTheMessage) {
  const Outcome run = msgctl({"send", "--to", "+15550100", "On my way"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "sent as message 1\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(message(1).at("body"), "On my way");
}

TEST_F(Msgctl, SendAnswersInJson) {
  EXPECT_EQ(msgctl({"--json", "send", "--to", "+15550100", "hi"}).json(),
            Json::parse(R"({"version": 1, "kind": "sent", "item": {"message_id": 1}})"));
}

TEST_F(Msgctl, AMessageToSeveralPeopleIsOneMessage) {
  EXPECT_EQ(msgctl({"send", "--to", "+15550100", "--to", "ana@example.org", "hi"}).status, 0);
  const Json addresses = message(1).at("addresses");
  ASSERT_EQ(addresses.size(), 2U);
  EXPECT_EQ(addresses[0].at("address"), "+15550100");
  EXPECT_EQ(addresses[1].at("address"), "ana@example.org");
  EXPECT_EQ(addresses[1].at("kind"), "email");
}

TEST_F(Msgctl, AMessageCanBeSentToAThread) {
  send("+15550100", "first");
  EXPECT_EQ(msgctl({"send", "--thread", "1", "--sim", "1", "second"}).status, 0);
  const Json second = message(2);
  EXPECT_EQ(second.at("thread_id"), 1);
  EXPECT_EQ(second.at("sim"), 1);
  EXPECT_EQ(second.at("addresses").at(0).at("address"), "+15550100");
}

TEST_F(Msgctl, SendingToAThreadThatIsNotThereIsNotFound) {
  const Outcome run = msgctl({"send", "--thread", "7", "hi"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("there is no thread 7"));
}

TEST_F(Msgctl, SendReadsTheStandardInputWithoutTheLastNewline) {
  EXPECT_EQ(shell(R"(printf 'first line\nsecond line\n' | "$MSGCTL" send --to +15550100 -)").status, 0);
  EXPECT_EQ(message(1).at("body"), "first line\nsecond line");
}

TEST_F(Msgctl, ATextMayBeginWithADash) {
  EXPECT_EQ(msgctl({"send", "--to", "+15550100", "--", "-5 degrees"}).status, 0);
  EXPECT_EQ(message(1).at("body"), "-5 degrees");
}

class WhatCannotBeSent : public Msgctl, public testing::WithParamInterface<const char*> {};

TEST_P(WhatCannotBeSent, IsRefusedBeforeAnythingIsSent) {
  const Outcome run = shell(GetParam());
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, StartsWith("msgctl: error: "));
  EXPECT_EQ(service_process(), std::nullopt) << "the service was started";
}

INSTANTIATE_TEST_SUITE_P(CommandLines, WhatCannotBeSent,
                         testing::Values(R"(printf 'caf\351' | "$MSGCTL" send --to +15550100 -)",
                                         R"(printf 'a\000b' | "$MSGCTL" send --to +15550100 -)",
                                         R"sh("$MSGCTL" send --to +15550100 "$(printf 'caf\351')")sh",
                                         R"sh("$MSGCTL" send --to "$(printf '\377')" hi)sh",
                                         R"(head -c 9000000 /dev/zero | "$MSGCTL" send --to +15550100 -)",
                                         R"("$MSGCTL" mms --to +15550100 --file /nowhere/cat.png)",
                                         R"("$MSGCTL" mms --to +15550100 --file /)",
                                         R"("$MSGCTL" content send 1 /dev/null)",
                                         R"("$MSGCTL" content get 1 /dev/null)"));

TEST_F(Msgctl, AnAddressThatTheServiceRefusesIsNamedAsInvalid) {
  const Outcome run = msgctl({"send", "--to", "( )", "hi"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, HasSubstr("cannot send the message: an argument was refused as invalid"));
}

TEST_F(Msgctl, AnMmsCarriesItsFileThereAndBack) {
  write_file(_folder.path() / "cat.png", "a cat");
  const Outcome sent =
      shell("cd '" + _folder.path().string() + R"(' && "$MSGCTL" mms --to +15550100 --file cat.png Look)");
  ASSERT_EQ(sent.status, 0) << sent.err;
  EXPECT_EQ(message(1).at("type"), "mms");
  EXPECT_EQ(message(1).at("parts").back().at("file_name"), "cat.png");

  const Outcome fetched = shell("cd '" + _folder.path().string() + R"(' && "$MSGCTL" content get 1 copy.png)");
  EXPECT_EQ(fetched.status, 0) << fetched.err;
  EXPECT_EQ(fetched.out, "written to " + _folder.file("copy.png") + "\n");
  EXPECT_EQ(read_file(_folder.path() / "copy.png"), "a cat");
}

TEST_F(Msgctl, DeleteDeletes) {
  send("+15550100", "first");
  send("+15550100", "second");
  const Outcome run = msgctl({"delete", "1"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "message 1 deleted\n");
  EXPECT_EQ(msgctl({"show", "1"}).status, 3);
  EXPECT_EQ(msgctl({"show", "2"}).status, 0);
}

TEST_F(Msgctl, AnIdThatIsNotThereDoesNotKeepTheOthersFromBeingDealtWith) {
  send("+15550100", "first");
  send("+15550100", "second");
  const Outcome run = msgctl({"delete", "1", "99", "2"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.out, "message 1 deleted\nmessage 2 deleted\n");
  EXPECT_EQ(run.err, "msgctl: error: there is no message 99\n'msgctl messages' lists the messages.\n");
}

TEST_F(Msgctl, ChangesByIdAnswerInJson) {
  send("+15550100", "hi");
  const Outcome run = msgctl({"read", "--json", "1", "99"});
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.json(), Json::parse(R"({"version": 1, "kind": "read", "items": [{"message_id": 1}]})"));
  EXPECT_EQ(run.json_error().at("code"), "not-found");
}

TEST_F(Msgctl, WhatTheServiceRefusesIsSaidToBeRefused) {
  send("+15550100", "hi");
  const Outcome run = msgctl({"restore", "1"});
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.err, HasSubstr("cannot restore message 1: the service refused"));
}

TEST_F(Msgctl, AMessageIsExportedToThePhone) {
  send("+15550100", "hi");
  EXPECT_EQ(msgctl({"export-to-phone", "1"}).out, "message 1 handed to the phone\n");
  EXPECT_EQ(message(1).at("exported"), true);
}

TEST_F(Msgctl, ThreadsAreDeletedAllOrNone) {
  send("+15550100", "first");
  send("+15550101", "second");
  const Outcome refused = msgctl({"thread", "delete", "1", "9"});
  EXPECT_EQ(refused.status, 3);
  EXPECT_THAT(refused.err, HasSubstr("there is no thread by one of the ids 1, 9, so nothing was deleted"));
  EXPECT_EQ(msgctl({"addresses", "1"}).status, 0);

  EXPECT_EQ(msgctl({"thread", "delete", "1", "2"}).out, "threads 1, 2 deleted\n");
  EXPECT_EQ(msgctl({"threads"}).out, "No threads.\n");
}

TEST_F(Msgctl, CommandsForThreadsSayWhatTheyDid) {
  send("+15550100", "hi");
  EXPECT_EQ(msgctl({"thread", "read", "1"}).out, "thread 1 marked as read\n");
  EXPECT_EQ(msgctl({"thread", "active", "1"}).out, "thread 1 is the active one\n");
  EXPECT_EQ(msgctl({"thread", "active", "--none"}).out, "no thread is active\n");
  EXPECT_EQ(msgctl({"thread", "active", "9"}).status, 3);
  EXPECT_EQ(msgctl({"thread", "read", "--json", "1"}).json().at("kind"), "thread-read");
}

TEST_F(Msgctl, RequestsToTheDeviceSayWhatTheyDid) {
  send("+15550100", "hi");
  EXPECT_EQ(msgctl({"show-on-device", "1"}).out, "message 1 shown on the device\n");
  EXPECT_EQ(msgctl({"show-on-device", "9"}).status, 3);
  EXPECT_EQ(msgctl({"request-default-sms"}).out, "request sent\n");
  EXPECT_EQ(msgctl({"request-default-sms", "--give-back", "--json"}).json().at("item").at("wanted"), false);
}

TEST_F(Msgctl, AServiceThatWasKilledIsStartedAgainByTheNextCommand) {
  send("+15550100", "first");
  const auto process = service_process();
  ASSERT_TRUE(process);
  end_process(*process, SIGKILL);
  send("+15550100", "second");
  EXPECT_EQ(message(2).at("body"), "second");
}

}  // namespace
}  // namespace msg_consumer::test
