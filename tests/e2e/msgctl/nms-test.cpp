// SPDX-License-Identifier: Apache-2.0
// Commands on behalf of the network message store.
#include <gmock/gmock.h>

#include "msgctl-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class NmsCommands : public Msgctl {
 protected:
  std::string file(const std::string& name, const Json& content) {
    write_file(_folder.path() / name, content.dump());
    return _folder.file(name);
  }

  std::string incoming_message() {
    return file("message.json", Json::parse(R"({"type": "sms", "direction": "incoming", "time": "2024-02-03T04:05:06Z",
                  "sender": "+15550100", "body": "From the network", "network_status": 5,
                  "addresses": [{"address": "+15550100", "role": "from"}],
                  "network_store": {"object_id": "object-1", "sync": "required", "download": "required",
                                    "modified": "2024-02-03T04:05:06.789Z"}})"));
  }

  std::string metadata(Json members) {
    members["message_id"] = 1;
    return file("meta.json", members);
  }

  Json meta(const Arguments& key) {
    Arguments arguments = {"nms", "meta", "show", "--json"};
    arguments.insert(arguments.end(), key.begin(), key.end());
    return msgctl(arguments).json().at("item");
  }

  std::vector<std::string> objects_of(Arguments arguments) {
    arguments.insert(arguments.begin(), {"nms", "meta", "--json"});
    const Json list = msgctl(arguments).json();
    std::vector<std::string> objects;
    for (const Json& item : list.at("items")) objects.push_back(item.at("object_id"));
    return objects;
  }
};

TEST_F(NmsCommands, AMessageIsAddedFromJson) {
  const Outcome run = msgctl({"nms", "add", incoming_message()});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "message added\n");
  const Json added = message(1);
  EXPECT_EQ(added.at("body"), "From the network");
  EXPECT_EQ(added.at("direction"), "incoming");
  EXPECT_EQ(added.at("time"), "2024-02-03T04:05:06Z");
  EXPECT_EQ(added.at("network_status"), 5);
  EXPECT_EQ(added.at("network_store").at("object_id"), "object-1");
  EXPECT_EQ(added.at("network_store").at("modified"), "2024-02-03T04:05:06.789Z");
}

TEST_F(NmsCommands, WhatShowPrintsCanBeAdded) {
  ASSERT_EQ(msgctl({"nms", "add", incoming_message()}).status, 0);
  const Outcome run = shell(R"("$MSGCTL" show 1 --json | sed s/object-1/object-2/ | "$MSGCTL" nms add --json -)");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.json().at("kind"), "nms-add");
  EXPECT_EQ(message(2).at("body"), "From the network");
  EXPECT_EQ(message(2).at("thread_id"), 1);
}

TEST_F(NmsCommands, MessagesAreReadAndDeleted) {
  ASSERT_EQ(msgctl({"nms", "add", incoming_message()}).status, 0);
  EXPECT_EQ(message(1).at("read"), false);
  EXPECT_EQ(msgctl({"nms", "read", "1"}).out, "message 1 marked as read\n");
  EXPECT_EQ(message(1).at("read"), true);
  EXPECT_EQ(msgctl({"nms", "delete", "--json", "1"}).json(),
            Json::parse(R"({"version": 1, "kind": "nms-delete", "items": [{"message_id": 1}]})"));
  EXPECT_EQ(msgctl({"show", "1"}).status, 3);
}

TEST_F(NmsCommands, TheNetworkStatusIsShownAndSet) {
  send("+15550100", "hi");
  EXPECT_EQ(msgctl({"nms", "set-status", "1", "-7"}).out, "message 1 has network status -7\n");
  EXPECT_EQ(msgctl({"nms", "status", "1"}).out, "sub-type plain, network status -7\n");
  EXPECT_EQ(msgctl({"nms", "status", "1", "--json"}).json().at("item"),
            Json::parse(R"({"message_id": 1, "sub_type": "plain", "network_status": -7})"));
}

TEST_F(NmsCommands, MessagesOlderThanATimeAreDeleted) {
  ASSERT_EQ(msgctl({"nms", "add", incoming_message()}).status, 0);
  send("+15550100", "new");
  EXPECT_EQ(msgctl({"nms", "delete-before", "2024-02-03"}).out,
            "unlocked messages older than 2024-02-03T00:00:00Z deleted\n");
  EXPECT_EQ(msgctl({"show", "1"}).status, 0);
  EXPECT_EQ(msgctl({"nms", "delete-before", "--json", "1706933107"}).json().at("item").at("before"),
            "2024-02-03T04:05:07Z");
  EXPECT_EQ(msgctl({"show", "1"}).status, 3);
  EXPECT_EQ(msgctl({"show", "2"}).status, 0);
}

TEST_F(NmsCommands, MessagesAreSentAndSentAgain) {
  EXPECT_EQ(msgctl({"nms", "send", "--to", "+15550100", "hi"}).out, "sent as message 1\n");
  EXPECT_EQ(message(1).at("body"), "hi");
  write_file(_folder.path() / "cat.png", "a cat");
  const Outcome run = msgctl({"nms", "mms", "--to", "+15550100", "--file", _folder.file("cat.png")});
  EXPECT_EQ(run.out, "sent as message 2\n") << run.err;
  EXPECT_EQ(message(2).at("type"), "mms");

  ASSERT_TRUE(wait_until([&] { return message(1).at("delivery") == "delivered"; }));
  const Outcome refused = msgctl({"nms", "resend", "1"});
  EXPECT_EQ(refused.status, 5);
  EXPECT_THAT(refused.err, HasSubstr("cannot resend message 1: the service refused"));
}

TEST_F(NmsCommands, AnMmsIsDownloaded) {
  EXPECT_EQ(msgctl({"nms", "add", file("mms.json", Json::parse(R"({"type": "mms", "sender": "+15550100",
      "retrieval": "needed", "addresses": [{"address": "+15550100", "role": "from"}]})"))})
                .status,
            0);
  const Outcome run = msgctl({"nms", "download", "1"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "message 1 being downloaded\n");
}

TEST_F(NmsCommands, MetadataIsAddedShownReplacedAndDeleted) {
  send("+15550100", "hi");
  EXPECT_EQ(msgctl({"nms", "meta", "add", metadata({{"object_id", "a"}, {"folder", "/in"}})}).out,
            "metadata of message 1 as object 'a' added\n");
  EXPECT_THAT(msgctl({"nms", "meta", "show", "--object", "a"}).out,
              StartsWith("Message:     1\nObject:      a\nFolder:      /in\nSync:        in-step\n"));

  const std::string replacement =
      metadata({{"object_id", "a"}, {"folder", "/out"}, {"seen", true}, {"notified", "2024-02-03T04:05:06.007Z"}});
  EXPECT_EQ(msgctl({"nms", "meta", "update", "--message", "1", replacement}).out, "metadata of message 1 replaced\n");
  const Json shown = meta({"--message", "1"});
  EXPECT_EQ(shown.at("folder"), "/out");
  EXPECT_EQ(shown.at("seen"), true);
  EXPECT_EQ(shown.at("notified"), "2024-02-03T04:05:06.007Z");

  EXPECT_EQ(msgctl({"nms", "meta", "delete", "--json", "--object", "a"}).json().at("item"),
            Json::parse(R"({"message_id": null, "object_id": "a"})"));
  const Outcome gone = msgctl({"nms", "meta", "show", "--object", "a"});
  EXPECT_EQ(gone.status, 3);
  EXPECT_EQ(gone.err, "msgctl: error: there is no metadata of object 'a'\n");
}

TEST_F(NmsCommands, MetadataIsListedUntilItIsInOrder) {
  send("+15550100", "hi");
  ASSERT_EQ(
      msgctl(
          {"nms", "meta", "add",
           metadata({{"object_id", "a"}, {"correlation_id", "abc"}, {"sync", "required"}, {"download", "required"}})})
          .status,
      0);
  EXPECT_EQ(msgctl({"nms", "download-required"}).out, "yes\n");
  EXPECT_THAT(objects_of({"sync-required"}), ElementsAre("a"));
  EXPECT_THAT(objects_of({"download-required"}), ElementsAre("a"));

  ASSERT_EQ(msgctl({"nms", "meta", "update", "--message", "1",
                    metadata({{"object_id", "a"}, {"correlation_id", "abc"}, {"download", "done"}})})
                .status,
            0);
  EXPECT_EQ(msgctl({"nms", "download-required", "--json"}).json().at("item").at("required"), false);
  EXPECT_THAT(objects_of({"sync-required"}), IsEmpty());
  EXPECT_EQ(msgctl({"nms", "meta", "download-required"}).out, "No metadata.\n");
}

TEST_F(NmsCommands, UncorrelatedMetadataIsFoundByItsCorrelationId) {
  ASSERT_EQ(msgctl({"nms", "meta", "add", file("a.json", {{"object_id", "a"}, {"correlation_id", "xyz"}})}).status, 0);
  EXPECT_THAT(objects_of({"uncorrelated", "--id", "xyz"}), ElementsAre("a"));
  EXPECT_THAT(objects_of({"uncorrelated", "--id", "x"}), IsEmpty());
  EXPECT_THAT(objects_of({"uncorrelated", "--id", "x", "--match", "prefix"}), ElementsAre("a"));
  EXPECT_THAT(objects_of({"uncorrelated", "--id", "y", "--match", "prefix"}), IsEmpty());
  EXPECT_THAT(objects_of({"uncorrelated", "--id", "y", "--match", "part"}), ElementsAre("a"));
}

TEST_F(NmsCommands, MetadataOfAMessageThatIsGoneIsInvalid) {
  send("+15550100", "hi");
  ASSERT_EQ(msgctl({"nms", "meta", "add", metadata({{"object_id", "a"}})}).status, 0);
  ASSERT_TRUE(wait_until([&] { return message(1).at("delivery") == "delivered"; }));
  ASSERT_EQ(msgctl({"delete", "1"}).status, 0);
  EXPECT_EQ(msgctl({"nms", "meta", "delete-invalid"}).out, "invalid metadata deleted\n");
  EXPECT_EQ(msgctl({"nms", "meta", "show", "--object", "a"}).status, 3);
}

TEST_F(NmsCommands, TheSubscriptionKeepsAll64Bits) {
  EXPECT_EQ(msgctl({"nms", "subscription", "set", "9223372036854775809", "token"}).out, "subscription stored\n");
  EXPECT_EQ(msgctl({"nms", "subscription", "show"}).out, "Index:       9223372036854775809\nToken:       token\n");
  EXPECT_EQ(msgctl({"nms", "subscription", "set", "18446744073709551615", ""}).status, 0);
  EXPECT_EQ(msgctl({"nms", "subscription", "show", "--json"}).json().at("item"),
            Json::parse(R"({"index": 18446744073709551615, "token": ""})"));
}

TEST_F(NmsCommands, ResettingTheBoxDropsMetadataAndSubscription) {
  ASSERT_EQ(msgctl({"nms", "add", incoming_message()}).status, 0);
  ASSERT_EQ(msgctl({"nms", "subscription", "set", "5", "token"}).status, 0);
  EXPECT_EQ(msgctl({"nms", "reset-box", "--yes"}).out, "metadata and subscription dropped\n");
  EXPECT_EQ(msgctl({"nms", "meta", "show", "--object", "object-1"}).status, 3);
  EXPECT_EQ(msgctl({"nms", "subscription", "show"}).status, 3);
  EXPECT_EQ(msgctl({"show", "1"}).status, 0);
}

TEST_F(NmsCommands, DelayedEventsAreAPreference) {
  EXPECT_EQ(msgctl({"nms", "delay-events", "-3"}).out, "preference set to -3\n");
  EXPECT_THAT(read_file(_folder.path() / "preferences.ini"), HasSubstr("consumer_preference_int_delay_noti_event=-3"));
}

struct BadJson {
  const char* name;
  const char* text;
  const char* message;
};

class JsonThatCannotBeUsed : public Msgctl, public testing::WithParamInterface<BadJson> {};

TEST_P(JsonThatCannotBeUsed, IsRefusedBeforeAnythingIsSent) {
  write_file(_folder.path() / "message.json", GetParam().text);
  const Outcome run = msgctl({"nms", "add", _folder.file("message.json")});
  EXPECT_EQ(run.status, 5);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, StartsWith(std::string("msgctl: error: ") + GetParam().message));
  EXPECT_EQ(service_process(), std::nullopt) << "the service was started";
}

INSTANTIATE_TEST_SUITE_P(
    Files, JsonThatCannotBeUsed,
    testing::Values(BadJson{"Empty", "", "this is not JSON: parse error"},
                    BadJson{"NoObject", "[]", "the JSON cannot be used: it is not an object"},
                    BadJson{"NotUtf8", "{\"body\": \"\xff\"}", "this is not JSON: "},
                    BadJson{"Misspelt", R"({"bdoy": ""})", "the JSON cannot be used: the member 'bdoy' is not known"},
                    BadJson{"DeepDown", R"({"addresses": [{}, {"address": 5}]})",
                            "the JSON cannot be used: the member 'addresses[1].address' is not a text"},
                    BadJson{"Nul", R"({"body": "a\u0000b"})", "the JSON cannot be used: the member 'body' contains a"},
                    BadJson{"UnknownWord", R"({"type": "fax"})",
                            "the JSON cannot be used: the member 'type' has no meaning: 'fax'"},
                    BadJson{"TooLarge", R"({"size": 18446744073709551615})",
                            "the JSON cannot be used: the member 'size' is not a whole number of 32 bits"},
                    BadJson{"AfterTheEndOfTime", R"({"time": "2038-01-19T03:14:08Z"})",
                            "the JSON cannot be used: the member 'time' does not fit"},
                    BadJson{"NoTime", R"({"time": "yesterday"})", "the JSON cannot be used: the member 'time' is not"},
                    BadJson{"AnotherDocument", R"({"version": 1, "kind": "thread", "item": {}})",
                            "the JSON cannot be used: it is not a document of kind 'message'"},
                    BadJson{"AnotherVersion", R"({"version": 2, "kind": "message", "item": {}})",
                            "the JSON cannot be used: it is not of version 1"}),
    [](const auto& row) { return row.param.name; });

class WithoutNumberSync : public Msgctl, public testing::WithParamInterface<std::vector<const char*>> {
 protected:
  void SetUp() override {
    ASSERT_EQ(msgctl({"status"}).status, 0);
    const std::string path = (_folder.path() / "preferences.ini").string();
    write_file(path, read_file(path) + "consumer_preference_bool_numbersync_supported=false\n");
    write_file(_folder.path() / "empty.json", "{}");
  }
};

TEST_P(WithoutNumberSync, IsNotSupported) {
  Arguments arguments = {"nms"};
  for (const std::string argument : GetParam()) {
    arguments.push_back(argument == "FILE" ? _folder.file("empty.json") : argument);
  }
  const Outcome run = msgctl(arguments);
  EXPECT_EQ(run.status, 6);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, HasSubstr("number sync is not supported here"));
}

using Words = std::vector<const char*>;
INSTANTIATE_TEST_SUITE_P(EveryCommand, WithoutNumberSync,
                         testing::Values(Words{"add", "FILE"}, Words{"read", "1"}, Words{"status", "1"},
                                         Words{"set-status", "1", "2"}, Words{"delete", "1"},
                                         Words{"delete-before", "0"}, Words{"send", "--to", "+15550100", "hi"},
                                         Words{"mms", "--to", "+15550100", "hi"}, Words{"resend", "1"},
                                         Words{"download", "1"}, Words{"download-required"},
                                         Words{"reset-box", "--yes"}, Words{"delay-events", "1"},
                                         Words{"meta", "add", "FILE"}, Words{"meta", "update", "--object", "a", "FILE"},
                                         Words{"meta", "delete", "--object", "a"}, Words{"meta", "delete-invalid"},
                                         Words{"meta", "show", "--object", "a"}, Words{"meta", "uncorrelated"},
                                         Words{"meta", "sync-required"}, Words{"meta", "download-required"},
                                         Words{"subscription", "show"}, Words{"subscription", "set", "1", "token"}));

}  // namespace
}  // namespace msg_consumer::test
