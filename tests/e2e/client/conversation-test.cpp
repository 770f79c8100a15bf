// SPDX-License-Identifier: Apache-2.0
#include "client-with-service.hpp"

using namespace msg_consumer::test;
using testing::ElementsAre;

namespace {

class Conversations : public ClientWithService {
 protected:
  static void receive(const std::string& sender, const std::vector<std::string>& others, int thread_id, int type) {
    std::vector<msg_address_item_t> addresses(others.size() + 1);
    std::vector<std::string> texts = {sender};
    texts.insert(texts.end(), others.begin(), others.end());
    msg_message_item_t message = {};
    for (std::size_t i = 0; i < addresses.size(); ++i) {
      addresses[i].num_2 = 1;
      addresses[i].num_3 = i == 0 ? 1 : 2;
      addresses[i].address = texts[i].data();
      message.address_list = g_slist_append(message.address_list, &addresses[i]);
    }
    std::string text = "a reply";
    std::string empty;
    message.num_2 = type;
    message.num_4 = thread_id;
    message.num_5 = 1;
    message.text_3 = text.data();
    message.text_17 = empty.data();
    message.text_18 = texts[0].data();
    message.time_sec = static_cast<int>(time(nullptr)) + 5;
    EXPECT_EQ(msg_consumer_nms_add_message(&message), 0);
    g_slist_free(message.address_list);
  }
};

TEST_F(Conversations, OfFiveParticipantsHoldARepliesInEachDirection) {
  connect();
  const int first = send("+491;+492;+493;+494;five@example.org", "hello all");
  OwnedMessage message;
  ASSERT_EQ(msg_consumer_get_message(first, 0, 0, message.get()), 0);
  const int thread_id = message->num_4;
  receive("+492", {}, thread_id, 2);
  const int last = send("", "thank you", thread_id);

  OwnedThread thread;
  ASSERT_EQ(msg_consumer_get_thread_view(thread_id, thread.get()), 0);
  EXPECT_EQ(thread->num_13, 5) << "participants";
  EXPECT_EQ(thread->num_6, 3) << "messages";
  EXPECT_EQ(thread->num_7, 1) << "unread";
  EXPECT_STREQ(thread->text_2, "+491, +492, +493, +494, five@example.org");
  AddressList participants;
  ASSERT_EQ(msg_consumer_get_address_list(thread_id, participants.get()), 0);
  EXPECT_EQ(elements<msg_address_item_t>(participants).size(), 5U);

  ConversationList conversation;
  ASSERT_EQ(msg_consumer_get_conversation_view_list(thread_id, conversation.get()), 0);
  std::vector<std::string> entries;
  for (const auto* entry : elements<msg_conversation_view_t>(conversation)) {
    entries.push_back(std::to_string(entry->num_6) + " " + entry->text_3 + " " + entry->text_17);
  }
  EXPECT_THAT(entries, testing::UnorderedElementsAre("2 hello all ", "1 a reply +492", "2 thank you "));
  EXPECT_EQ(msg_consumer_read_thread_message(thread_id), 0);
  OwnedThread read;
  ASSERT_EQ(msg_consumer_get_thread_view(thread_id, read.get()), 0);
  EXPECT_EQ(read->num_7, 0);
  EXPECT_EQ(msg_consumer_delete_thread(thread_id), 0);
  OwnedMessage gone;
  EXPECT_EQ(msg_consumer_get_message(last, 0, 0, gone.get()), MSG_CONSUMER_ERROR_NO_DATA);
  EXPECT_EQ(msg_consumer_delete_thread(thread_id), MSG_CONSUMER_ERROR_NO_DATA);
  const int other = send("+491;+492;+493;+494;five@example.org", "again");
  OwnedMessage again;
  ASSERT_EQ(msg_consumer_get_message(other, 0, 0, again.get()), 0);
  EXPECT_GT(again->num_4, thread_id) << "a deleted thread's id is not given away";
}

TEST_F(Conversations, CarryAnMmsWithThreeParts) {
  connect();
  write_file(folder.file("cat.png"), "a cat");
  write_file(folder.file("song.mp3"), "a song");
  int id = 0;
  const std::string paths = folder.file("cat.png") + ";" + folder.file("song.mp3");
  ASSERT_EQ(msg_consumer_send_mms(0, "+49170", "look and listen", paths.c_str(), 0, &id), 0);
  OwnedMessage message;
  ASSERT_EQ(msg_consumer_get_message(id, 0, 0, message.get()), 0);
  EXPECT_EQ(message->num_2, 2) << "MMS";
  EXPECT_EQ(message->num_12, 15 + 5 + 6) << "size of all parts";
  std::vector<std::string> parts;
  for (const GSList* node = message->content_list; node != nullptr; node = node->next) {
    const auto* const part = static_cast<const msg_content_item_t*>(node->data);
    EXPECT_EQ(part->num_2, id);
    EXPECT_EQ(part->flag_5, 1) << "on the device";
    parts.push_back(std::to_string(part->kind) + " " + std::to_string(part->flag_4) + " " + part->text_10 + " " +
                    part->text_8 + part->text_12);
  }
  EXPECT_THAT(parts, ElementsAre("1 1 text/plain look and listen", "2 0 image/png cat.png", "4 0 audio/mpeg song.mp3"));

  const std::string copy = folder.file("copy.png");
  EXPECT_EQ(msg_consumer_get_content_file(id, copy.c_str()), 0);
  EXPECT_EQ(read_file(copy), "a cat");
  write_file(copy, "mine");
  EXPECT_EQ(msg_consumer_get_content_file(id, copy.c_str()), MSG_CONSUMER_ERROR_OPERATION_FAILED);
  EXPECT_EQ(read_file(copy), "mine") << "an existing file is never overwritten";
  EXPECT_EQ(msg_consumer_send_mms(0, "+49170", nullptr, "/nonexistent", 0, &id), MSG_CONSUMER_ERROR_OPERATION_FAILED);
  EXPECT_EQ(id, 0) << "refused";
}

}  // namespace
