// SPDX-License-Identifier: Apache-2.0
#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

class Arrivals : public ServiceTest {};

TEST_F(Arrivals, AreStoredUnreadInTheirSendersThread) {
  send("+49 170 1234567");
  StoredMessage arrival{.message = incoming("+491701234567"), .sender_name = "Ann"};
  const Announcement announcement = inbox.receive(arrival);
  EXPECT_EQ(announcement.body, R"({"event":"added","revision":2,"message_ids":[2],"thread_ids":[1]})");

  const Message message = stored(2);
  EXPECT_EQ(message.num_b, 1);
  EXPECT_EQ(message.num_e, DIRECTION_INCOMING);
  EXPECT_EQ(message.flag_j, 0);
  EXPECT_EQ(message.str_p, "+491701234567");
  ASSERT_EQ(message.addresses.size(), 1U);
  EXPECT_EQ(message.addresses[0].num_c, ROLE_FROM);
  EXPECT_EQ(message.addresses[0].address, "+491701234567");
  EXPECT_EQ(stored_thread(1).num_b, 1);
}

TEST_F(Arrivals, KeepTheirSendersNameThroughChanges) {
  StoredMessage arrival{.message = incoming(), .sender_name = "Ann"};
  inbox.receive(arrival);
  commands.read_message(1, 0);
  Conversation conversation;
  ASSERT_EQ(db::db_get_conversation(1, conversation), db::DB_OK);
  EXPECT_EQ(conversation.str_t, "Ann");
}

TEST_F(Arrivals, OfSeveralPeopleBelongToAllOfThem) {
  Message message = incoming("+491");
  Address other;
  other.address = "+492";
  other.num_c = ROLE_TO;
  Address own;
  own.address = "+493";
  own.num_c = ROLE_TO;
  own.flag_e = 1;
  message.addresses = {other, own};
  receive(message);
  EXPECT_EQ(stored_thread(1).str_m, "+491, +492");
  EXPECT_EQ(stored(1).addresses.size(), 3U);
  send("+492;+491");
  EXPECT_EQ(stored(2).num_b, 1);
}

TEST_F(Arrivals, InAKnownThreadStayThere) {
  Message message = incoming("+491");
  message.num_b = make_group({"+491", "+492"});
  message.num_c = TYPE_GROUP_CHAT;
  receive(message);
  EXPECT_EQ(stored(1).num_b, 1);
  message.num_b = UNKNOWN_ID;
  EXPECT_THROW(receive(message), Refusal);
}

TEST_F(Arrivals, OlderThanTheLastMessageDoNotTakeItsPlace) {
  send("+491701234567", "newest");
  Message late = incoming();
  late.time_ms = clock.now - 1;
  receive(late);
  EXPECT_EQ(stored_thread(1).str_n, "newest");
  EXPECT_EQ(stored_thread(1).num_g, 2);
}

}  // namespace
}  // namespace msg_consumer::service
