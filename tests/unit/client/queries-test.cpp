// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "query-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

msg_list_condition_t every_message() { return {}; }

INSTANTIATE_TEST_SUITE_P(
    Records, Query,
    testing::Values(
        QueryRow{"Message",
                 [](std::size_t& count) {
                   return read_one(
                       count, [](msg_message_item_t* item) { return msg_consumer_get_message(7, 1, 2, item); },
                       msg_consumer_free_message_info, &msg_message_item_t::msg_id);
                 },
                 "msg_consumer_get_message", "db_get_message", "db_get_message(7)"},
        QueryRow{"Thread",
                 [](std::size_t& count) {
                   return read_one(
                       count, [](msg_thread_view_t* view) { return msg_consumer_get_thread_view(7, view); },
                       msg_consumer_free_thread_info, &msg_thread_view_t::thread_id);
                 },
                 "msg_consumer_get_thread_view", "db_get_thread", "db_get_thread(7)"},
        QueryRow{"Conversation",
                 [](std::size_t& count) {
                   return read_one(
                       count, [](msg_conversation_view_t* view) { return msg_consumer_get_conversation_view(7, view); },
                       msg_consumer_free_conversation_info, &msg_conversation_view_t::msg_id);
                 },
                 "msg_consumer_get_conversation_view", "db_get_conversation", "db_get_conversation(7)"},
        QueryRow{"ThreadList",
                 [](std::size_t& count) {
                   return read_list(count, msg_consumer_get_thread_view_list, msg_consumer_free_thread_list);
                 },
                 "msg_consumer_get_thread_view_list", "db_get_threads", "db_get_threads"},
        QueryRow{"ConversationList",
                 [](std::size_t& count) {
                   return read_list(
                       count, [](msg_list_handle_t* list) { return msg_consumer_get_conversation_view_list(-3, list); },
                       msg_consumer_free_conversation_list);
                 },
                 "msg_consumer_get_conversation_view_list", "db_get_conversations", "db_get_conversations(-3)"},
        QueryRow{"AddressList",
                 [](std::size_t& count) {
                   return read_list(
                       count, [](msg_list_handle_t* list) { return msg_consumer_get_address_list(7, list); },
                       msg_consumer_free_address_list);
                 },
                 "msg_consumer_get_address_list", "db_get_addresses", "db_get_addresses(7)"},
        QueryRow{"MessageList",
                 [](std::size_t& count) {
                   return read_list(
                       count,
                       [](msg_list_handle_t* list) {
                         auto condition = every_message();
                         return msg_consumer_get_message_list(list, &condition);
                       },
                       msg_consumer_free_message_list);
                 },
                 "msg_consumer_get_message_list", "db_get_message_list", "db_get_message_list"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Queries, MissingOutput,
    testing::Values(
        MissingRow{"Message", [] { return msg_consumer_get_message(7, 1, 2, nullptr); }, "msg_consumer_get_message",
                   "[ERROR] Invalid parameter: msg_detail_info is nullptr!"},
        MissingRow{"Thread", [] { return msg_consumer_get_thread_view(7, nullptr); }, "msg_consumer_get_thread_view",
                   "[ERROR] Invalid parameter: thread_view is nullptr!"},
        MissingRow{"Conversation", [] { return msg_consumer_get_conversation_view(7, nullptr); },
                   "msg_consumer_get_conversation_view", "[ERROR] Invalid parameter: conv_view is nullptr!"},
        MissingRow{"ThreadList", [] { return msg_consumer_get_thread_view_list(nullptr); },
                   "msg_consumer_get_thread_view_list", "[ERROR] Invalid parameter: thread_view_list is nullptr!"},
        MissingRow{"ConversationList", [] { return msg_consumer_get_conversation_view_list(7, nullptr); },
                   "msg_consumer_get_conversation_view_list", "[ERROR] Invalid parameter: conv_view_list is nullptr!"},
        MissingRow{"AddressList", [] { return msg_consumer_get_address_list(7, nullptr); },
                   "msg_consumer_get_address_list", "[ERROR] Invalid parameter: addr_list is nullptr!"},
        MissingRow{"AddressAndThreadId", [] { return msg_consumer_get_thread_id_by_address(nullptr, nullptr); },
                   "msg_consumer_get_thread_id_by_address", "[ERROR] Input parameter: addressNum is nullptr!"},
        MissingRow{"ThreadId", [] { return msg_consumer_get_thread_id_by_address("+491", nullptr); },
                   "msg_consumer_get_thread_id_by_address", "[ERROR] Input parameter: threadId is nullptr!"},
        MissingRow{"MessageListAndCondition", [] { return msg_consumer_get_message_list(nullptr, nullptr); },
                   "msg_consumer_get_message_list", "[ERROR] Invalid parameter: msg_item_list is nullptr!"},
        MissingRow{"Condition",
                   [] {
                     List list(msg_consumer_free_message_list);
                     return msg_consumer_get_message_list(list.handle(), nullptr);
                   },
                   "msg_consumer_get_message_list", "[ERROR] Invalid parameter: condition is nullptr!"}),
    [](const auto& row) { return row.param.name; });

using Lists = ClientTest;

TEST_F(Lists, GrowBehindWhatTheyHoldAlready) {
  fake::store().threads.resize(3);
  for (int i = 0; i < 3; ++i) fake::store().threads[i].id = 10 + i;
  List list(msg_consumer_free_thread_list);
  EXPECT_EQ(msg_consumer_get_thread_view_list(list.handle()), 0);
  EXPECT_EQ(msg_consumer_get_thread_view_list(list.handle()), 0);
  ASSERT_EQ(list.size(), 6U);
  for (unsigned int i = 0; i < 6; ++i)
    EXPECT_EQ(list.at<msg_thread_view_t>(i)->thread_id, 10 + static_cast<int>(i % 3));
}

TEST_F(Lists, StayAsTheyWereWhenTheStoreFindsNothingToAppend) {
  List list(msg_consumer_free_message_list);
  auto condition = every_message();
  EXPECT_EQ(msg_consumer_get_message_list(list.handle(), &condition), 0);
  EXPECT_EQ(list.handle()->list, nullptr);
}

TEST_F(Lists, StayAsTheyWereAfterAFailure) {
  fake::store().threads.resize(1);
  List list(msg_consumer_free_thread_list);
  ASSERT_EQ(msg_consumer_get_thread_view_list(list.handle()), 0);
  const GSList* const before = list.handle()->list;
  for (const int result : {-1101, -1, -4}) {
    fake::store().result = result;
    msg_consumer_get_thread_view_list(list.handle());
    EXPECT_EQ(list.handle()->list, before);
    EXPECT_EQ(list.size(), 1U);
  }
}

TEST_F(Lists, HoldANullWhereARecordCouldNotBeAllocated) {
  struct Row {
    const char* function;
    std::function<int(msg_list_handle_t*)> run;
    void (*release)(msg_list_handle_t**);
  };
  fake::store().threads.resize(2);
  fake::store().conversations.resize(2);
  fake::store().messages.resize(2);
  fake::store().addresses.resize(2);
  fake::store().metas.resize(2);
  const std::vector<Row> rows = {
      {"__convert_legacy_nms_msg_meta", msg_consumer_nms_get_download_required_msg_meta_list,
       msg_consumer_free_nms_msg_meta_list},
      {"__convert_legacy_thread", msg_consumer_get_thread_view_list, msg_consumer_free_thread_list},
      {"__convert_legacy_address", [](msg_list_handle_t* list) { return msg_consumer_get_address_list(1, list); },
       msg_consumer_free_address_list},
      {"__convert_legacy_conversation",
       [](msg_list_handle_t* list) { return msg_consumer_get_conversation_view_list(1, list); },
       msg_consumer_free_conversation_list},
      {"__convert_legacy_message",
       [](msg_list_handle_t* list) {
         auto condition = every_message();
         return msg_consumer_get_message_list(list, &condition);
       },
       msg_consumer_free_message_list},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.function);
    LogCapture::instance().clear();
    List list(row.release);
    fake::allocator().failing_malloc0 = 0;
    EXPECT_EQ(row.run(list.handle()), 0) << "the caller is not told";
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list.at<void>(0), nullptr);
    EXPECT_NE(list.at<void>(1), nullptr);
    expect_line(6, "[ERROR] invalid parameter!", "msg-consumer-client.cpp", row.function);
  }
}

using AddressLists = ClientTest;

TEST_F(AddressLists, StayEmptyForAThreadWithoutParticipants) {
  List list(msg_consumer_free_address_list);
  EXPECT_EQ(msg_consumer_get_address_list(7, list.handle()), 0);
  EXPECT_EQ(list.handle()->list, nullptr);
}

TEST_F(AddressLists, HoldEveryMemberOfAnAddress) {
  msg_consumer::Address address;
  address.num_a = 1;
  address.num_b = 2;
  address.num_c = 3;
  address.flag_e = 4;
  address.address = "a@b";
  fake::store().addresses = {address};
  List list(msg_consumer_free_address_list);
  ASSERT_EQ(msg_consumer_get_address_list(7, list.handle()), 0);
  const auto* const item = list.at<msg_address_item_t>(0);
  EXPECT_EQ(item->num_1, 1);
  EXPECT_EQ(item->num_2, 2);
  EXPECT_EQ(item->num_3, 3);
  EXPECT_EQ(item->flag_4, 4);
  EXPECT_STREQ(item->address, "a@b");
}

using ThreadByAddress = ClientTest;

TEST_F(ThreadByAddress, LooksUpOneAddressAndMapsEveryResult) {
  for (const auto& [result, status] : STATUSES) {
    SCOPED_TRACE(result);
    fake::store().reset();
    LogCapture::instance().clear();
    fake::store().result = result;
    fake::store().found_thread_id = 12;
    int thread_id = -7;
    EXPECT_EQ(msg_consumer_get_thread_id_by_address("+49 170", &thread_id), status);
    EXPECT_EQ(thread_id, 12) << "what the store wrote stays";
    EXPECT_THAT(fake::store().calls, ElementsAre("db_check_thread_address_exist"));
    ASSERT_THAT(fake::store().looked_up, SizeIs(1));
    EXPECT_EQ(fake::store().looked_up[0].address, "+49 170");
    EXPECT_EQ(fake::store().looked_up[0].num_a, 0);
    EXPECT_EQ(fake::store().looked_up[0].num_b, 1);
    EXPECT_EQ(fake::store().looked_up[0].num_c, 0);
    EXPECT_EQ(fake::store().looked_up[0].flag_e, 0);
    if (result == 0 || result == -1101) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      expect_line(6, "db_check_thread_address_exist() failed: (" + std::to_string(result) + ")",
                  "msg-consumer-client.cpp", "msg_consumer_get_thread_id_by_address");
    }
  }
}

TEST_F(Lists, OfAHundredThousandKeepTheirOrder) {
  fake::store().threads.resize(100'000);
  for (int i = 0; i < 100'000; ++i) fake::store().threads[static_cast<std::size_t>(i)].id = i;
  List list(msg_consumer_free_thread_list);
  ASSERT_EQ(msg_consumer_get_thread_view_list(list.handle()), 0);
  int expected = 0;
  for (const GSList* node = list.handle()->list; node != nullptr; node = node->next) {
    ASSERT_EQ(static_cast<const msg_thread_view_t*>(node->data)->thread_id, expected++);
  }
  EXPECT_EQ(expected, 100'000);
}

using ListConditions = ClientTest;

TEST_F(ListConditions, OfZerosAskForEveryMessageNewestFirst) {
  List list(msg_consumer_free_message_list);
  auto condition = every_message();
  msg_consumer_get_message_list(list.handle(), &condition);
  const auto& asked = fake::store().condition;
  const msg_consumer::ListCondition untouched;
  EXPECT_EQ(asked.flag_x, 1);
  EXPECT_EQ(asked.flag_x, untouched.flag_x);
  EXPECT_EQ(asked.flag_y, untouched.flag_y);
  EXPECT_EQ(asked.num_type, untouched.num_type);
  EXPECT_EQ(asked.num_a, untouched.num_a);
  EXPECT_EQ(asked.num_b, untouched.num_b);
  EXPECT_EQ(asked.keyword, "");
  EXPECT_THAT(asked.thread_ids, IsEmpty());
}

TEST_F(ListConditions, AreHandedOnWithTheOrderInverted) {
  List list(msg_consumer_free_message_list);
  std::string keyword = "Grüße";
  msg_list_condition_t condition = {3, 5, -7, keyword.data(), 1, 1};
  msg_consumer_get_message_list(list.handle(), &condition);
  const auto& asked = fake::store().condition;
  EXPECT_EQ(asked.flag_x, 0);
  EXPECT_EQ(asked.flag_y, 1);
  EXPECT_EQ(asked.num_type, 0);
  EXPECT_EQ(asked.num_a, 3);
  EXPECT_EQ(asked.num_b, 5);
  EXPECT_EQ(asked.keyword, "Grüße");
  EXPECT_THAT(asked.thread_ids, ElementsAre(-7));
}

}  // namespace
