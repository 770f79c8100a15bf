// SPDX-License-Identifier: Apache-2.0
#include "emulator-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using Arrivals = EmulatorOnBus;

Json sms(const std::string& text, const char* from = "+15550199") {
  return {{"do", "receive"}, {"type", "sms"}, {"from", from}, {"text", text}};
}

TEST_F(Arrivals, AreStoredAndAnnounced) {
  start();
  Json step = sms("Are you there?");
  step.update(
      {{"from_name", "Ann"}, {"time", "2023-11-14T22:13:20Z"}, {"sim", 1}, {"locked", true}, {"blocked", true}});
  EXPECT_EQ(emulator->perform(step), (Json{{"message_id", 1}, {"thread_id", 1}}));
  EXPECT_TRUE(hears(R"({"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})"));
  const Json stored = message(1);
  EXPECT_EQ(stored["text"], "Are you there?");
  EXPECT_EQ(stored["direction"], 1);
  EXPECT_EQ(stored["time"], 1'700'000'000);
  EXPECT_EQ(stored["sim"], 1);
  EXPECT_EQ(stored["locked"], true);
  EXPECT_EQ(stored["blocked"], true);
  EXPECT_EQ(stored["read"], false);
  EXPECT_EQ(stored["addresses"], Json::array({"1 +15550199"}));
}

TEST_F(Arrivals, OfTheStartAreThereForWhoeverFindsTheService) {
  start({sms("first"), sms("second")});
  EXPECT_THAT(messages(), SizeIs(2));
}

TEST_F(Arrivals, CountAsReadUntilWhoeverLooksAtTheirThreadLeaves) {
  start({sms("first")});
  const auto is_read = [&] { return message(emulator->perform(sms("next"))["message_id"])["read"] == true; };
  {
    EmulatorClient viewer(bus.address());
    EXPECT_EQ(viewer.call("set_active_thread_id", g_variant_new("(i)", 1), SERVICE_INTERFACE).error, "");
    EXPECT_TRUE(is_read());
  }
  EXPECT_TRUE(wait_until([&] { return !is_read(); }));
}

TEST_F(Arrivals, OfAnMmsBringTheirParts) {
  start();
  write_file(folder.file("note.txt"), "from a file");
  emulator->perform({{"do", "receive"},
                     {"type", "mms"},
                     {"from", "+1"},
                     {"to", {"+2"}},
                     {"cc", {"+3"}},
                     {"subject", "pictures"},
                     {"text", "look"},
                     {"parts",
                      {{{"mime_type", "text/plain"}, {"text", "a part"}},
                       {{"mime_type", "image/png"}, {"name", "a.png"}, {"data", "aGVsbG8="}},
                       {{"mime_type", "text/x-note"}, {"name", "n.txt"}, {"path", folder.file("note.txt")}}}}});
  const Json stored = message(1);
  EXPECT_EQ(stored["subject"], "pictures");
  EXPECT_EQ(stored["addresses"], (Json{"1 +1", "2 +2", "3 +3"}));
  EXPECT_EQ(stored["size"], 4 + 6 + 5 + 11);
  ASSERT_THAT(stored["parts"], SizeIs(4));
  EXPECT_EQ(stored["parts"][0],
            (Json{{"body", true}, {"mime_type", "text/plain"}, {"name", ""}, {"text", "look"}, {"file", ""}}));
  EXPECT_EQ(stored["parts"][1]["text"], "a part");
  EXPECT_EQ(stored["parts"][2]["name"], "a.png");
  EXPECT_EQ(stored["parts"][2]["file"], "hello");
  EXPECT_EQ(stored["parts"][3]["mime_type"], "text/x-note");
  EXPECT_EQ(stored["parts"][3]["file"], "from a file");
}

Json notification() {
  return {{"do", "receive"},
          {"type", "mms"},
          {"from", "+1"},
          {"subject", "later"},
          {"text", "what it says"},
          {"notification", true},
          {"parts", {{{"mime_type", "image/png"}, {"name", "a.png"}, {"data", "aGVsbG8="}}}}};
}

TEST_F(Arrivals, OfANotificationBringTheContentOnceItIsRetrieved) {
  start({notification()});
  EXPECT_EQ(message(1)["retrieval"], 1);
  EXPECT_EQ(message(1)["text"], "");
  EXPECT_THAT(message(1)["parts"], IsEmpty());
  EXPECT_THAT(messages("what it says"), IsEmpty());
  ASSERT_EQ(msg_consumer_update_retrieve_mms_message(1), 0);
  ASSERT_TRUE(becomes(1, "retrieval", 3));
  const Json stored = message(1);
  EXPECT_EQ(stored["text"], "what it says");
  ASSERT_THAT(stored["parts"], SizeIs(2));
  EXPECT_EQ(stored["parts"][1]["file"], "hello");
  EXPECT_THAT(messages("what it says"), SizeIs(1)) << "it can be searched now";
}

TEST_F(Arrivals, OfANotificationStayUntilRetrievalSucceeds) {
  start({notification(), {{"do", "network"}, {"retrievals", "fail"}}});
  ASSERT_EQ(msg_consumer_update_retrieve_mms_message(1), 0);
  ASSERT_TRUE(becomes(1, "retrieval", 4));
  EXPECT_EQ(message(1)["text"], "");
  emulator->perform({{"do", "network"}, {"retrievals", "succeed"}});
  ASSERT_EQ(msg_consumer_update_retrieve_mms_message(1), 0);
  ASSERT_TRUE(becomes(1, "retrieval", 3));
  EXPECT_EQ(message(1)["parts"][1]["file"], "hello");
}

TEST_F(Arrivals, OfManyAreNumbered) {
  start();
  Json step = sms("hello");
  step["repeat"] = 3;
  EXPECT_EQ(emulator->perform(step), (Json{{"message_id", 3}, {"thread_id", 1}, {"message_ids", {1, 2, 3}}}));
  EXPECT_EQ(message(1)["text"], "hello 1");
  EXPECT_EQ(message(3)["text"], "hello 3");
  EXPECT_TRUE(hears(3));
}

TEST_F(Arrivals, InSegmentsAreStoredOnceTheyAreWhole) {
  start();
  const auto segment = [](int number, const char* text) {
    Json step = sms(text);
    step["segment"] = {{"reference", 7}, {"number", number}, {"of", 3}};
    return step;
  };
  EXPECT_EQ(emulator->perform(segment(3, "three")), (Json{{"whole", false}}));
  EXPECT_EQ(emulator->perform(segment(1, "one ")), (Json{{"whole", false}}));
  EXPECT_EQ(emulator->perform(segment(1, "one ")), (Json{{"whole", false}}));
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_EQ(emulator->state()["segments"],
            (Json::array({{{"from", "+15550199"}, {"reference", 7}, {"of", 3}, {"have", {1, 3}}}})));
  // What could not be stored is not lost either.
  emulator->perform({{"do", "disk-full"}, {"times", 1}});
  EXPECT_THAT(emulator->try_to(segment(2, "two ")).error, HasSubstr("-7"));
  EXPECT_EQ(emulator->perform(segment(2, "two "))["message_id"], 1);
  EXPECT_EQ(message(1)["text"], "one two three");
  EXPECT_EQ(emulator->perform(segment(2, "two ")), (Json{{"whole", false}}));
  EXPECT_THAT(messages(), SizeIs(1));
}

Json chat(const char* from, const Json& participants, const char* title = "") {
  Json step = {{"do", "receive"}, {"type", "group-chat"}, {"from", from}, {"text", "hi"}, {"chat", {{"id", "chat-1"}}}};
  if (!participants.empty()) {
    step["chat"]["participants"] = participants;
  }
  if (*title != '\0') {
    step["chat"]["title"] = title;
  }
  return step;
}

TEST_F(Arrivals, InAGroupChatFindItWhoeverTakesPart) {
  start();
  const Json first = emulator->perform(chat("+1", {"+2"}, "Friends"));
  EXPECT_EQ(emulator->perform(chat("+2", Json::array()))["thread_id"], first["thread_id"]);
  EXPECT_FALSE(iterate_until([] { return events().size() > 2; }, std::chrono::milliseconds(0)));
  EXPECT_EQ(emulator->perform(chat("+3", {"+1"}, "Others"))["thread_id"], first["thread_id"]);
  EXPECT_TRUE(hears(R"("message_ids":[],"thread_ids":[1]})")) << "the chat itself has changed";

  auto* list = static_cast<msg_list_handle_t*>(std::calloc(1, sizeof(msg_list_handle_t)));
  EXPECT_EQ(msg_consumer_get_address_list(1, list), 0);
  std::vector<std::string> addresses;
  for (const GSList* node = list->list; node != nullptr; node = node->next) {
    addresses.emplace_back(static_cast<const msg_address_item_t*>(node->data)->address);
  }
  msg_consumer_free_address_list(&list);
  EXPECT_THAT(addresses, testing::UnorderedElementsAre("+1", "+3"));

  auto* thread = static_cast<msg_thread_view_t*>(std::calloc(1, sizeof(msg_thread_view_t)));
  EXPECT_EQ(msg_consumer_get_thread_view(1, thread), 0);
  EXPECT_STREQ(thread->text_2, "Others");
  EXPECT_STREQ(thread->text_4, "chat-1");
  EXPECT_EQ(thread->num_6, 3);
  EXPECT_EQ(thread->num_13, 2);
  msg_consumer_free_thread_info(&thread);
}

TEST_F(Arrivals, ThatAreNotAsTheyMustBeChangeNothing) {
  start();
  EXPECT_THAT(emulator->try_to(sms("x", " ")).error,
              StartsWith("GDBus.Error:com.velmora.message.consumer.Error.InvalidStep: from: must be an address"));
  EXPECT_THAT(emulator->call("perform", g_variant_new("(s)", "{")).error, HasSubstr("InvalidStep: line 1"));
  EXPECT_THAT(messages(), IsEmpty());
  EXPECT_THAT(events(), IsEmpty());
}

}  // namespace
}  // namespace msg_consumer::test
