// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>

#include "client-with-service.hpp"

using namespace msg_consumer::test;
using testing::ElementsAre;
using testing::IsSupersetOf;

namespace {

using Messages = ClientWithService;

TEST_F(Messages, AreThereAsSoonAsTheyAreSent) {
  connect();
  int missed = 0;
  for (int round = 0; round < 10'000; ++round) {
    const std::string text = "message " + std::to_string(round);
    const int id = send("+491700000" + std::to_string(round % 10), text);
    OwnedMessage message;
    const bool found = msg_consumer_get_message(id, 0, 0, message.get()) == 0 && text == message->text_3;
    if (!found) ++missed;
  }
  EXPECT_EQ(missed, 0);
}

TEST_F(Messages, ReadBackWithEveryFieldRight) {
  connect();
  const int id = send("+49 170 1;Anna@Example.org", "Grüße aus Köln 👋");
  OwnedMessage message;
  ASSERT_EQ(msg_consumer_get_message(id, 0, 0, message.get()), 0);
  EXPECT_EQ(message->msg_id, id);
  EXPECT_EQ(message->num_2, 1) << "SMS";
  EXPECT_STREQ(message->text_3, "Grüße aus Köln 👋");
  EXPECT_GT(message->num_4, 0) << "thread";
  EXPECT_EQ(message->num_5, 2) << "outgoing";
  EXPECT_THAT(message->num_6, testing::AllOf(testing::Ge(1), testing::Le(4))) << "somewhere from queued to delivered";
  EXPECT_EQ(message->flag_8, 1) << "read";
  EXPECT_NEAR(message->time_sec, std::time(nullptr), 60);
  EXPECT_EQ(message->num_11, 1) << "SIM";
  EXPECT_EQ(message->flag_16, 0) << "not locked";
  EXPECT_EQ(message->text_19, nullptr) << "the phone does not know it";
  std::vector<std::string> addresses;
  for (const GSList* node = message->address_list; node != nullptr; node = node->next) {
    const auto* const address = static_cast<const msg_address_item_t*>(node->data);
    addresses.push_back(std::to_string(address->num_2) + "/" + std::to_string(address->num_3) + " " + address->address);
  }
  EXPECT_THAT(addresses, ElementsAre("1/2 +49 170 1", "2/2 Anna@Example.org"));
  EXPECT_NE(message->nms_meta, nullptr) << "number sync is supported by default";
}

TEST_F(Messages, PassThroughTheNetworkAndAnnounceEachStep) {
  connect();
  ASSERT_EQ(msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_STORAGE_CHANGED, on_event, nullptr), 0);
  ASSERT_EQ(msg_consumer_read_message(1), MSG_CONSUMER_ERROR_NO_DATA) << "the bus has taken note of the subscription";
  const int id = send("+49170", "hello");
  const auto delivery = [&] {
    OwnedMessage message;
    msg_consumer_get_message(id, 0, 0, message.get());
    return message->num_6;
  };
  ASSERT_TRUE(iterate_until([&] { return events().size() == 4; }));
  EXPECT_EQ(delivery(), 4);
  std::vector<std::string> kinds;
  for (std::size_t i = 0; i < events().size(); ++i) {
    const auto& event = events()[i];
    kinds.push_back(event["event"]);
    EXPECT_EQ(event["revision"], i + 1) << "revisions grow by one";
    EXPECT_THAT(event["message_ids"].get<std::vector<int>>(), ElementsAre(id));
    EXPECT_EQ(event["thread_ids"].size(), 1U);
  }
  EXPECT_THAT(kinds, ElementsAre("added", "changed", "changed", "changed"));
}

TEST_F(Messages, AppearInThreadsConversationsAndSearches) {
  connect();
  const int first = send("+49 170 1", "Straßenbahn um acht");
  const int second = send("+49-170-1", "oder um neun");
  send("+49 170 2", "ganz anders");
  OwnedMessage message;
  ASSERT_EQ(msg_consumer_get_message(first, 0, 0, message.get()), 0);
  const int thread_id = message->num_4;

  ThreadList threads;
  ASSERT_EQ(msg_consumer_get_thread_view_list(threads.get()), 0);
  const auto views = elements<msg_thread_view_t>(threads);
  ASSERT_EQ(views.size(), 2U);
  EXPECT_STREQ(views[0]->text_3, "ganz anders") << "newest first";
  EXPECT_STREQ(views[1]->text_3, "oder um neun");
  EXPECT_EQ(views[1]->thread_id, thread_id);
  EXPECT_EQ(views[1]->num_6, 2) << "two ways to write the number are one participant";

  ConversationList conversation;
  ASSERT_EQ(msg_consumer_get_conversation_view_list(thread_id, conversation.get()), 0);
  std::vector<int> ids;
  for (const auto* entry : elements<msg_conversation_view_t>(conversation)) ids.push_back(entry->msg_id);
  EXPECT_THAT(ids, ElementsAre(first, second)) << "oldest first";

  for (const char* keyword : {"straSSENbahn", "BAHN", "ß", "um a"}) {
    SCOPED_TRACE(keyword);
    MessageList hits;
    std::string text = keyword;
    msg_list_condition_t condition = {};
    condition.keyword = text.data();
    ASSERT_EQ(msg_consumer_get_message_list(hits.get(), &condition), 0);
    const auto found = elements<msg_message_item_t>(hits);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0]->msg_id, first);
  }

  int found_thread = 0;
  EXPECT_EQ(msg_consumer_get_thread_id_by_address("+49 (170) 1", &found_thread), 0);
  EXPECT_EQ(found_thread, thread_id);
  AddressList participants;
  ASSERT_EQ(msg_consumer_get_address_list(thread_id, participants.get()), 0);
  EXPECT_EQ(elements<msg_address_item_t>(participants).size(), 1U);
}

TEST_F(Messages, AreGoneOnceTheyAreDeletedAndTheirIdsStayUnused) {
  connect();
  const int first = send("+49 170 1", "one");
  const int second = send("+49 170 1", "two");
  EXPECT_EQ(msg_consumer_delete_message(second), 0);
  OwnedMessage message;
  EXPECT_EQ(msg_consumer_get_message(second, 0, 0, message.get()), MSG_CONSUMER_ERROR_NO_DATA);
  EXPECT_EQ(msg_consumer_delete_message(second), MSG_CONSUMER_ERROR_NO_DATA);
  EXPECT_EQ(msg_consumer_delete_message(first), 0);
  ThreadList threads;
  EXPECT_EQ(msg_consumer_get_thread_view_list(threads.get()), MSG_CONSUMER_ERROR_NO_DATA);
  EXPECT_GT(send("+49 170 1", "three"), second);
}

TEST_F(Messages, ThatTheServiceRefusesLeaveNothingBehind) {
  connect();
  int id = -7;
  EXPECT_EQ(msg_consumer_send_message(0, "", "nobody", 1, &id), MSG_CONSUMER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(msg_consumer_send_message(0, " - ;", "nobody", 1, &id), MSG_CONSUMER_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(msg_consumer_send_message(99, "+49170", "no thread", 1, &id), MSG_CONSUMER_ERROR_NO_DATA);
  EXPECT_EQ(id, 0) << "the service replied, without a message";
  EXPECT_EQ(msg_consumer_resend_message(1), MSG_CONSUMER_ERROR_NO_DATA);
  ThreadList threads;
  EXPECT_EQ(msg_consumer_get_thread_view_list(threads.get()), MSG_CONSUMER_ERROR_NO_DATA);
}

}  // namespace
