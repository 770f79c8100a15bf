// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <climits>

#include "named-row.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "support/log-capture.hpp"
#include "test-store.hpp"

namespace msg_consumer::db {
namespace {

using test::make_message;
using test::TestStore;
using testing::ElementsAre;
using testing::IsEmpty;

template <typename Record>
std::vector<int> ids(const std::vector<Record>& list) {
  std::vector<int> result;
  for (const auto& record : list) result.push_back(record.id);
  return result;
}

std::vector<int> list(const ListCondition& condition) {
  std::vector<Message> messages;
  const int status = db_get_message_list(condition, messages);
  EXPECT_EQ(status, messages.empty() ? DB_NO_RECORD : DB_OK);
  return ids(messages);
}

// A stored message's parts belong to it.
Message stored(Message message, int id) {
  message.id = id;
  for (auto& content : message.contents) content.num_b = id;
  return message;
}

class Query : public testing::Test {
 protected:
  TestStore _store;
  int _thread = _store.add_thread({"+491701234567"});
};

TEST_F(Query, AMessageIsReadWithAllThatBelongsToIt) {
  Message message = test::sample<Message>();
  message.num_b = _thread;
  const int id = _store.add_message(message);
  _store.add_nms_meta(id, message.nms_meta);

  Message read;
  ASSERT_EQ(db_get_message(id, read), DB_OK);
  EXPECT_TRUE(read == stored(message, id));

  std::vector<Message> list;
  ASSERT_EQ(db_get_message_list(ListCondition(), list), DB_OK);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_TRUE(list.front() == read);
}

TEST_F(Query, AMessageWithoutNetworkMetadataHasNone) {
  const int id = _store.add_message(make_message(_thread, "x"));
  Message read;
  ASSERT_EQ(db_get_message(id, read), DB_OK);
  EXPECT_TRUE(read.nms_meta == NmsMsgMeta());
}

TEST_F(Query, AConversationIsTheMessageAsItsThreadShowsIt) {
  Message message = test::sample<Message>();
  message.num_b = _thread;
  const int id = _store.add_message(message, "A Sender");

  Conversation read;
  ASSERT_EQ(db_get_conversation(id, read), DB_OK);
  Conversation expected;
  expected.id = id;
  expected.num_b = _thread;
  expected.num_c = message.num_c;
  expected.str_d = message.str_d;
  expected.num_e = message.num_e;
  expected.num_f = message.num_f;
  expected.num_g = message.num_h;
  expected.num_h = 2;
  expected.time_ms = message.time_ms;
  expected.flag_j = message.flag_j;
  expected.flag_k = message.flag_k;
  expected.flag_l = message.flag_l;
  expected.num_m = message.num_m;
  expected.num_n = message.num_n;
  expected.flag_o = message.flag_r;
  expected.num_p = message.num_q;
  expected.str_q = message.str_s;
  expected.str_r = message.str_p;
  expected.str_s = message.str_o;
  expected.str_t = "A Sender";
  expected.contents = stored(message, id).contents;
  EXPECT_TRUE(read == expected);
}

TEST_F(Query, AThreadIsReadWithItsCountsAndLastMessage) {
  _store.execute(
      "INSERT INTO thread (id, address_key, is_group, group_chat_id, title, participant_count, message_count,"
      " unread_count, draft_count, failed_count, last_type, last_direction, last_sim, last_delivery, last_time_ms,"
      " last_text) VALUES (77, 'k', 1, 'chat', 'A title', 4, 12, 3, 2, 0, 2, 1, 6, 5, 1234567890123, 'last')");
  Thread expected;
  expected.id = 77;
  expected.num_b = 3;
  expected.num_c = 2;
  expected.num_d = 1;
  expected.flag_e = 1;
  expected.flag_f = 0;
  expected.num_g = 12;
  expected.num_h = 6;
  expected.num_i = 5;
  expected.time_ms = 1234567890123;
  expected.num_k = 4;
  expected.str_m = "A title";
  expected.str_n = "last";
  expected.str_o = "chat";
  expected.flag_p = 1;

  Thread read;
  ASSERT_EQ(db_get_thread(77, read), DB_OK);
  EXPECT_TRUE(read == expected);

  _store.execute("UPDATE thread SET draft_count = 0, failed_count = 9 WHERE id = 77");
  ASSERT_EQ(db_get_thread(77, read), DB_OK);
  EXPECT_EQ(read.flag_e, 0);
  EXPECT_EQ(read.flag_f, 1);
}

TEST_F(Query, AnUnknownIdFindsNothingAndLeavesTheRecord) {
  test::LogCapture::instance().clear();
  for (const int id : {0, -1, 99, INT_MIN, INT_MAX}) {
    Message message = test::sample<Message>();
    EXPECT_EQ(db_get_message(id, message), DB_NO_RECORD) << id;
    EXPECT_TRUE(message == test::sample<Message>());
    Conversation conversation = test::sample<Conversation>();
    EXPECT_EQ(db_get_conversation(id, conversation), DB_NO_RECORD) << id;
    EXPECT_TRUE(conversation == test::sample<Conversation>());
    Thread thread = test::sample<Thread>();
    EXPECT_EQ(db_get_thread(id, thread), DB_NO_RECORD) << id;
    EXPECT_TRUE(thread == test::sample<Thread>());
    Content content = test::sample<Content>();
    EXPECT_EQ(db_get_sending_msg_content_info(id, content), DB_NO_RECORD) << id;
    EXPECT_TRUE(content == test::sample<Content>());
  }
  EXPECT_THAT(test::LogCapture::instance().lines(), IsEmpty());
}

TEST_F(Query, ThreadsComeNewestFirstTiesByIdDescending) {
  const int second = _store.add_thread({"2"});
  const int third = _store.add_thread({"3"});
  _store.execute("UPDATE thread SET last_time_ms = 5 WHERE id = " + std::to_string(_thread));
  std::vector<Thread> threads;
  ASSERT_EQ(db_get_threads(threads), DB_OK);
  EXPECT_THAT(ids(threads), ElementsAre(_thread, third, second));
}

TEST_F(Query, AStoreWithoutThreadsHasNoRecord) {
  _store.execute("DELETE FROM thread");
  std::vector<Thread> threads;
  EXPECT_EQ(db_get_threads(threads), DB_NO_RECORD);
}

TEST_F(Query, ConversationsComeOldestFirstTiesById) {
  const int newest = _store.add_message(make_message(_thread, "c", 30));
  const int first = _store.add_message(make_message(_thread, "a", 10));
  const int second = _store.add_message(make_message(_thread, "b", 10));
  _store.add_message(make_message(_store.add_thread({"2"}), "other", 20));
  std::vector<Conversation> conversations;
  ASSERT_EQ(db_get_conversations(_thread, conversations), DB_OK);
  EXPECT_THAT(ids(conversations), ElementsAre(first, second, newest));
}

TEST_F(Query, AThreadWithoutMessagesHasNoConversations) {
  std::vector<Conversation> conversations;
  EXPECT_EQ(db_get_conversations(_thread, conversations), DB_NO_RECORD);
  EXPECT_EQ(db_get_conversations(99, conversations), DB_NO_RECORD);
}

TEST_F(Query, ResultsAreAppendedToWhatTheListHolds) {
  const int id = _store.add_message(make_message(_thread, "x"));
  std::vector<Message> messages(1);
  ASSERT_EQ(db_get_message_list(ListCondition(), messages), DB_OK);
  EXPECT_THAT(ids(messages), ElementsAre(0, id));
  std::vector<Thread> threads(1);
  ASSERT_EQ(db_get_threads(threads), DB_OK);
  EXPECT_THAT(ids(threads), ElementsAre(0, _thread));
}

TEST_F(Query, AddressesComeInTheOrderInWhichTheyWereAdded) {
  const int group = _store.add_thread({"9", "bob@x.org", "1"});
  _store.execute("UPDATE thread_address SET is_own = 1 WHERE address = '1'");
  std::vector<Address> addresses;
  ASSERT_EQ(db_get_addresses(group, addresses), DB_OK);
  ASSERT_EQ(addresses.size(), 3U);
  EXPECT_EQ(addresses[0].address, "9");
  EXPECT_EQ(addresses[0].num_b, 1);
  EXPECT_EQ(addresses[0].flag_e, 0);
  EXPECT_EQ(addresses[1].address, "bob@x.org");
  EXPECT_EQ(addresses[1].num_b, 2);
  EXPECT_EQ(addresses[2].flag_e, 1);
  for (const auto& address : addresses) {
    EXPECT_GT(address.num_a, 0);
    EXPECT_EQ(address.num_c, 0);
  }
}

TEST_F(Query, AThreadWithoutAddressesIsNotAnUnknownThread) {
  const int lonely = _store.add_thread({});
  std::vector<Address> addresses;
  EXPECT_EQ(db_get_addresses(lonely, addresses), DB_OK);
  EXPECT_THAT(addresses, IsEmpty());
  EXPECT_EQ(db_get_addresses(lonely + 1, addresses), DB_NO_RECORD);
}

// Threads by their addresses.

int find_thread(const std::vector<std::string>& texts, int* thread) {
  std::vector<Address> addresses(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) addresses[i].address = texts[i];
  return db_check_thread_address_exist(addresses, thread);
}

TEST_F(Query, AThreadIsFoundByExactlyItsAddresses) {
  const int pair = _store.add_thread({"+49 170 1234567", "bob@x.org"});
  int found = 0;
  EXPECT_EQ(find_thread({"+49 (170) 123-4567"}, &found), DB_OK);
  EXPECT_EQ(found, _thread);
  EXPECT_EQ(find_thread({"BOB@X.ORG", "+491701234567", "+491701234567"}, &found), DB_OK);
  EXPECT_EQ(found, pair);
}

TEST_F(Query, AnotherSetOfAddressesFindsNothingAndWritesNothing) {
  _store.add_thread({"1", "2"});
  int found = 42;
  for (const auto& texts : std::vector<std::vector<std::string>>{{"1"}, {"1", "2", "3"}, {"12"}, {"bob@x.org"}}) {
    EXPECT_EQ(find_thread(texts, &found), DB_NO_RECORD);
  }
  EXPECT_EQ(found, 42);
}

TEST_F(Query, AThreadThatIsNoGroupComesBeforeGroupsOfTheSameAddresses) {
  const int group = _store.add_thread({"1", "2"}, true);
  int found = 0;
  EXPECT_EQ(find_thread({"1", "2"}, &found), DB_OK);
  EXPECT_EQ(found, group);
  const int pair = _store.add_thread({"1", "2"});
  EXPECT_EQ(find_thread({"1", "2"}, &found), DB_OK);
  EXPECT_EQ(found, pair);
}

TEST_F(Query, AddressesThatCannotBeLookedUpAreInvalid) {
  int found = 42;
  EXPECT_EQ(find_thread({}, &found), DB_INVALID_ARGUMENT);
  EXPECT_EQ(find_thread({""}, &found), DB_INVALID_ARGUMENT);
  EXPECT_EQ(find_thread({"+491701234567", " - "}, &found), DB_INVALID_ARGUMENT);
  EXPECT_EQ(find_thread({"\xFF"}, &found), DB_INVALID_ARGUMENT);
  EXPECT_EQ(find_thread({"+491701234567"}, nullptr), DB_INVALID_ARGUMENT);
  EXPECT_EQ(found, 42);
}

// The part under way.

Content part(int id, bool is_body, Content::Status status) {
  Content content;
  content.id = id;
  content.flag_c = is_body ? 1 : 0;
  content.status = status;
  return content;
}

TEST_F(Query, APartsFilesAreInTheFolderOfAttachmentsWhereverThatIs) {
  Message message = make_message(_thread, "x");
  message.contents = {part(1, false, Content::STATUS_DONE), part(2, false, Content::STATUS_DONE)};
  message.contents[0].str_g = "1/1-picture.png";
  message.contents[0].str_i = "1/small.png";
  message.contents[1].str_g = "/elsewhere/picture.png";
  const int id = _store.add_message(message);
  for (const std::string files : {"/files", "/moved/files"}) {
    const test::EnvironmentVariable place("MSG_CONSUMER_FILES", files);
    Message read;
    ASSERT_EQ(db_get_message(id, read), DB_OK);
    std::vector<Conversation> conversations;
    ASSERT_EQ(db_get_conversations(_thread, conversations), DB_OK);
    for (const auto& contents : {read.contents, conversations.at(0).contents}) {
      EXPECT_EQ(contents.at(0).str_g, files + "/1/1-picture.png");
      EXPECT_EQ(contents.at(0).str_i, files + "/1/small.png");
      EXPECT_EQ(contents.at(1).str_g, "/elsewhere/picture.png") << "an absolute path stays as it is";
      EXPECT_EQ(contents.at(1).str_i, "") << "no file is none";
    }
  }
}

TEST_F(Query, ThePartUnderWayIsTheRunningOneOrElseTheFirstAttachment) {
  Message message = make_message(_thread, "x");
  message.num_e = 2;
  message.contents = {part(1, true, Content::STATUS_NONE), part(2, false, Content::STATUS_DONE),
                      part(3, false, Content::STATUS_RUNNING)};
  Content content;
  const int running = _store.add_message(message);
  ASSERT_EQ(db_get_sending_msg_content_info(running, content), DB_OK);
  EXPECT_EQ(content.id, 3);
  EXPECT_EQ(content.num_b, running);
  EXPECT_EQ(content.status, Content::STATUS_RUNNING);

  message.contents.pop_back();
  ASSERT_EQ(db_get_sending_msg_content_info(_store.add_message(message), content), DB_OK);
  EXPECT_EQ(content.id, 2);

  message.contents.pop_back();
  EXPECT_EQ(db_get_sending_msg_content_info(_store.add_message(message), content), DB_NO_RECORD);
}

TEST_F(Query, AnIncomingMessageHasNoPartUnderWay) {
  Message message = make_message(_thread, "x");
  message.contents = {part(1, false, Content::STATUS_RUNNING)};
  Content content;
  EXPECT_EQ(db_get_sending_msg_content_info(_store.add_message(message), content), DB_NO_RECORD);
}

// Lists of messages.

class MessageList : public Query {
 protected:
  MessageList() {
    _other = _store.add_thread({"2"});
    _old = _store.add_message(make_message(_thread, "old", 10));
    _tie = _store.add_message(make_message(_thread, "tie", 10));
    Message unread = make_message(_other, "unread", 20);
    unread.flag_j = 0;
    unread.num_c = 2;
    _unread = _store.add_message(unread);
    _late = _store.add_message(make_message(_thread, "late", 5));
    _newest = _store.add_message(make_message(_other, "newest", 30));
  }

  int _other, _old, _tie, _unread, _late, _newest;
};

TEST_F(MessageList, HoldsEverythingNewestFirstByDefault) {
  EXPECT_THAT(list(ListCondition()), ElementsAre(_newest, _unread, _tie, _old, _late));
}

TEST_F(MessageList, ComesOldestFirstOnDemand) {
  ListCondition condition;
  condition.flag_x = 0;
  EXPECT_THAT(list(condition), ElementsAre(_late, _old, _tie, _unread, _newest));
}

TEST_F(MessageList, IsLimitedAndShifted) {
  ListCondition condition;
  condition.num_b = 2;
  EXPECT_THAT(list(condition), ElementsAre(_newest, _unread));
  condition.num_a = 1;
  EXPECT_THAT(list(condition), ElementsAre(_unread, _tie));
  condition.num_b = 0;
  EXPECT_THAT(list(condition), ElementsAre(_unread, _tie, _old, _late));
  condition.num_a = 4;
  EXPECT_THAT(list(condition), ElementsAre(_late));
  condition.num_a = 5;
  EXPECT_THAT(list(condition), IsEmpty());
}

// Where the list has to be sorted too, and with what is joined to each message.
TEST_F(MessageList, IsASliceOfTheWholeListWhateverIsListed) {
  for (int i = 0; i < 20; ++i) {
    const int id = _store.add_message(make_message(i % 3 == 0 ? _other : _thread, "common words", i * 7 % 5));
    NmsMsgMeta meta = test::sample<NmsMsgMeta>();
    meta.msgId = id;
    if (i % 2 == 0) _store.add_nms_meta(id, meta);
  }
  ListCondition threads;
  threads.thread_ids = {_thread, _other};
  ListCondition keyword;
  keyword.keyword = "common";
  ListCondition both = threads;
  both.keyword = "common";
  for (ListCondition condition : {ListCondition(), threads, keyword, both}) {
    for (const int newest_first : {0, 1}) {
      condition.flag_x = newest_first;
      condition.num_a = condition.num_b = 0;
      std::vector<Message> whole;
      ASSERT_EQ(db_get_message_list(condition, whole), DB_OK);
      for (condition.num_a = 0; condition.num_a < static_cast<int>(whole.size()); ++condition.num_a) {
        condition.num_b = 3;
        const auto begin = whole.begin() + condition.num_a;
        const auto end = begin + std::min<std::ptrdiff_t>(condition.num_b, whole.end() - begin);
        std::vector<Message> slice;
        ASSERT_EQ(db_get_message_list(condition, slice), DB_OK);
        EXPECT_TRUE(slice == std::vector<Message>(begin, end)) << condition.num_a;
      }
    }
  }
}

TEST_F(MessageList, IsOfOneThreadOrOfSeveral) {
  ListCondition condition;
  condition.thread_ids = {_other};
  EXPECT_THAT(list(condition), ElementsAre(_newest, _unread));
  condition.thread_ids = {_other, _thread, _other, 99};
  EXPECT_THAT(list(condition), ElementsAre(_newest, _unread, _tie, _old, _late));
  condition.thread_ids = {99, 98};
  EXPECT_THAT(list(condition), IsEmpty());
  condition.thread_ids = {-1};
  EXPECT_THAT(list(condition), IsEmpty());
}

TEST_F(MessageList, HoldsAThousandThreads) {
  ListCondition condition;
  for (int id = 1; id <= 1000; ++id) condition.thread_ids.push_back(id);
  EXPECT_THAT(list(condition), ElementsAre(_newest, _unread, _tie, _old, _late));
}

TEST_F(MessageList, IsOfUnreadMessagesOrOfOneType) {
  ListCondition unread;
  unread.flag_y = 1;
  EXPECT_THAT(list(unread), ElementsAre(_unread));
  unread.thread_ids = {_thread};
  EXPECT_THAT(list(unread), IsEmpty());

  ListCondition type;
  type.num_type = 2;
  EXPECT_THAT(list(type), ElementsAre(_unread));
  type.num_type = 7;
  EXPECT_THAT(list(type), IsEmpty());
  type.num_type = -1;
  EXPECT_THAT(list(type), IsEmpty());
}

TEST_F(MessageList, CombinesItsConditions) {
  ListCondition condition;
  condition.flag_y = 1;
  condition.num_type = 2;
  condition.thread_ids = {_other, _thread};
  condition.num_b = 1;
  for (const auto* keyword : {"UNREAD", "re", ""}) {
    condition.keyword = keyword;
    EXPECT_THAT(list(condition), ElementsAre(_unread)) << keyword;
  }
  condition.keyword = "late";
  EXPECT_THAT(list(condition), IsEmpty());
}

TEST_F(MessageList, FollowsTheWriter) {
  EXPECT_EQ(list(ListCondition()).size(), 5U);
  const int added = _store.add_message(make_message(_thread, "added", 99));
  EXPECT_EQ(list(ListCondition()).front(), added);
}

struct InvalidCondition {
  const char* name;
  void (*set)(ListCondition& condition);
};

class InvalidList : public Query, public testing::WithParamInterface<InvalidCondition> {};

TEST_P(InvalidList, IsRefusedAndTheListIsLeftAlone) {
  _store.add_message(make_message(_thread, "x"));
  ListCondition condition;
  GetParam().set(condition);
  std::vector<Message> messages(1);
  EXPECT_EQ(db_get_message_list(condition, messages), DB_INVALID_ARGUMENT);
  EXPECT_EQ(messages.size(), 1U);
  EXPECT_THAT(list(ListCondition()), testing::SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(
    Conditions, InvalidList,
    testing::Values(InvalidCondition{"NegativeOffset", [](ListCondition& c) { c.num_a = -1; }},
                    InvalidCondition{"NegativeLimit", [](ListCondition& c) { c.num_b = INT_MIN; }},
                    InvalidCondition{"KeywordNotUtf8", [](ListCondition& c) { c.keyword = "ab\xFF"; }},
                    InvalidCondition{"KeywordWithNul", [](ListCondition& c) { c.keyword.assign("ab\0c", 4); }}),
    test::name_of_row);

// Damage.

TEST_F(Query, ADamagedRowFailsTheQueryAndLeavesTheList) {
  const int id = _store.add_message(make_message(_thread, "x"));
  _store.add_message(make_message(_thread, "y"));
  _store.execute("UPDATE message SET packed = x'01ff' WHERE id = " + std::to_string(id));
  test::LogCapture::instance().clear();

  Message message = test::sample<Message>();
  EXPECT_EQ(db_get_message(id, message), DB_CORRUPT);
  EXPECT_TRUE(message == test::sample<Message>());
  EXPECT_EQ(test::LogCapture::instance().lines().size(), 1U);
  EXPECT_TRUE(test::LogCapture::instance().contains("message " + std::to_string(id) + " is damaged"));

  std::vector<Message> messages(3);
  EXPECT_EQ(db_get_message_list(ListCondition(), messages), DB_CORRUPT);
  EXPECT_EQ(messages.size(), 3U);
  std::vector<Conversation> conversations(3);
  EXPECT_EQ(db_get_conversations(_thread, conversations), DB_CORRUPT);
  EXPECT_EQ(conversations.size(), 3U);
}

}  // namespace
}  // namespace msg_consumer::db
