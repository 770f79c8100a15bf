// SPDX-License-Identifier: Apache-2.0
#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;

class ThreadCommands : public ServiceTest {
 protected:
  void lock(int message_id) {
    edit(message_id, [](Message& message) { message.flag_k = 1; });
  }
};

TEST_F(ThreadCommands, ReadingAThreadReadsAllOfItInOneChange) {
  receive_from("+491");
  receive_from("+491");
  receive_from("+492");
  commands.read_message(2, 0);
  receive_from("+491");
  EXPECT_EQ(signal_of(commands.read_thread(1)),
            R"(storage_changed {"event":"changed","revision":6,"message_ids":[1,4],"thread_ids":[1]})");
  EXPECT_EQ(stored(1).flag_j, 1);
  EXPECT_EQ(stored(4).flag_j, 1);
  EXPECT_EQ(stored(3).flag_j, 0) << "of another thread";
  EXPECT_EQ(stored_thread(1).num_b, 0);
  EXPECT_EQ(signal_of(commands.read_thread(1)), "");
  EXPECT_EQ(commands.read_thread(1).status, STATUS_OK);
}

TEST_F(ThreadCommands, DeletingAThreadDeletesItsMessages) {
  send("+491");
  send("+492");
  send("+491");
  EXPECT_EQ(signal_of(commands.delete_thread(1)),
            R"(storage_changed {"event":"deleted","revision":4,"message_ids":[1,3],"thread_ids":[1]})");
  EXPECT_FALSE(thread_exists(1));
  EXPECT_FALSE(message_exists(3));
  EXPECT_TRUE(message_exists(2));
  std::vector<Address> addresses;
  EXPECT_EQ(db::db_get_addresses(1, addresses), db::DB_NO_RECORD);
  send("+491");
  EXPECT_EQ(stored(4).num_b, 3) << "the deleted thread's id is not given away again";
}

TEST_F(ThreadCommands, LockedMessagesSurviveWithTheirThread) {
  receive_from("+491");
  clock.now += 1000;
  receive_from("+491");
  clock.now += 1000;
  receive_from("+491");
  lock(2);
  EXPECT_EQ(signal_of(commands.delete_thread(1)),
            R"(storage_changed {"event":"deleted","revision":4,"message_ids":[1,3],"thread_ids":[1]})");
  EXPECT_TRUE(message_exists(2));
  const Thread thread = stored_thread(1);
  EXPECT_EQ(thread.num_g, 1);
  EXPECT_EQ(thread.num_b, 1);
  EXPECT_EQ(thread.time_ms, clock.now - 1000);

  const Outcome nothing_left_to_delete = commands.delete_thread(1);
  EXPECT_EQ(nothing_left_to_delete.status, STATUS_OK);
  EXPECT_EQ(signal_of(nothing_left_to_delete), "");
}

TEST_F(ThreadCommands, ManyThreadsAreDeletedInOneChange) {
  send("+491");
  send("+492");
  send("+493");
  EXPECT_EQ(signal_of(commands.delete_threads({3, 1, 3})),
            R"(storage_changed {"event":"deleted","revision":4,"message_ids":[1,3],"thread_ids":[1,3]})");
  EXPECT_TRUE(thread_exists(2));
}

TEST_F(ThreadCommands, OneUnknownThreadKeepsAllOthers) {
  send("+491");
  EXPECT_EQ(commands.delete_threads({1, UNKNOWN_ID}).status, STATUS_NO_RECORD);
  EXPECT_TRUE(message_exists(1));
  EXPECT_TRUE(thread_exists(1));
}

TEST_F(ThreadCommands, DeletingNoThreadsIsAnError) {
  EXPECT_EQ(commands.delete_threads({}).status, STATUS_INVALID_ARGUMENT);
}

TEST_F(ThreadCommands, WhatArrivesInTheActiveThreadIsRead) {
  receive_from("+491");
  const Outcome outcome = commands.set_active_thread_id(1);
  EXPECT_EQ(outcome.status, STATUS_OK);
  EXPECT_EQ(signal_of(outcome), "");
  EXPECT_EQ(stored(1).flag_j, 0) << "looking at a thread reads nothing by itself";
  EXPECT_EQ(stored(receive_from("+491")).flag_j, 1);
  EXPECT_EQ(stored(receive_from("+492")).flag_j, 0);

  EXPECT_EQ(commands.set_active_thread_id(UNKNOWN_ID).status, STATUS_NO_RECORD);
  EXPECT_EQ(stored(receive_from("+491")).flag_j, 1) << "a refusal changes nothing";
  for (const int none : {0, -4}) {
    commands.set_active_thread_id(1);
    EXPECT_EQ(commands.set_active_thread_id(none).status, STATUS_OK);
    EXPECT_EQ(stored(receive_from("+491")).flag_j, 0);
  }
}

TEST_F(ThreadCommands, AGroupChatIsRefreshed) {
  const int group = make_group({"+491", "+492"});
  EXPECT_EQ(signal_of(commands.update_group_chat_address(group)),
            R"(groupchat_state_changed {"event":"changed","revision":1,"message_ids":[],"thread_ids":[1]})");
  send("+491");
  EXPECT_EQ(commands.update_group_chat_address(2).status, STATUS_NOT_APPLICABLE);
}

TEST_F(ThreadCommands, TheParticipantsAreListedOnce) {
  send("+49 1;ann@example.org;+491");
  std::vector<Address> addresses;
  ASSERT_EQ(db::db_get_addresses(1, addresses), db::DB_OK);
  std::vector<std::string> texts;
  for (const Address& address : addresses) {
    texts.push_back(address.address);
  }
  EXPECT_THAT(texts, ElementsAre("+49 1", "ann@example.org"));
}

}  // namespace
}  // namespace msg_consumer::service
