// SPDX-License-Identifier: Apache-2.0
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using namespace msg_consumer;
using testing::SizeIs;

namespace {

/// Reads a record's members one after the other by their widths alone, so that a test sees the binary interface and not
/// the members' names.
class MemberReader {
 public:
  template <typename Record>
  explicit MemberReader(const Record* record) : _base(reinterpret_cast<const char*>(record)) {}

  template <typename Member>
  Member next() {
    _offset = (_offset + alignof(Member) - 1) / alignof(Member) * alignof(Member);
    Member value;
    std::memcpy(&value, _base + _offset, sizeof(Member));
    _offset += sizeof(Member);
    return value;
  }
  int number() { return next<int>(); }
  int byte() { return next<unsigned char>(); }
  std::int64_t long_number() { return next<std::int64_t>(); }
  /// A text, or "(null)".
  std::string text() {
    const char* const value = next<const char*>();
    return value != nullptr ? value : "(null)";
  }
  template <typename Element>
  std::vector<const Element*> list() {
    std::vector<const Element*> elements;
    for (const GSList* node = next<GSList*>(); node != nullptr; node = node->next) {
      elements.push_back(static_cast<const Element*>(node->data));
    }
    return elements;
  }
  /// The record's size, once all members have been read.
  std::size_t size() const { return (_offset + alignof(void*) - 1) / alignof(void*) * alignof(void*); }

 private:
  const char* _base;
  std::size_t _offset = 0;
};

template <typename Record>
using Released = std::unique_ptr<Record, void (*)(Record*)>;

Released<msg_message_item_t> get_message() {
  auto* item = static_cast<msg_message_item_t*>(std::calloc(1, sizeof(msg_message_item_t)));
  EXPECT_EQ(msg_consumer_get_message(1, 0, 0, item), 0);
  return {item, [](msg_message_item_t* released) { msg_consumer_free_message_info(&released); }};
}

Released<msg_thread_view_t> get_thread() {
  auto* view = static_cast<msg_thread_view_t*>(std::calloc(1, sizeof(msg_thread_view_t)));
  EXPECT_EQ(msg_consumer_get_thread_view(1, view), 0);
  return {view, [](msg_thread_view_t* released) { msg_consumer_free_thread_info(&released); }};
}

Released<msg_conversation_view_t> get_conversation() {
  auto* view = static_cast<msg_conversation_view_t*>(std::calloc(1, sizeof(msg_conversation_view_t)));
  EXPECT_EQ(msg_consumer_get_conversation_view(1, view), 0);
  return {view, [](msg_conversation_view_t* released) { msg_consumer_free_conversation_info(&released); }};
}

Content a_content() {
  Content content;
  content.id = 101;
  content.num_b = 102;
  content.flag_c = 103;
  content.flag_d = 104;
  content.str_e = "e";
  content.kind = Content::KIND_VIDEO;
  content.status = Content::STATUS_RUNNING;
  content.str_g = "g";
  content.str_h = "h";
  content.str_i = "i";
  content.str_j = "j";
  content.str_l = "l";
  return content;
}

void expect_content(const msg_content_item_t* content) {
  MemberReader members(content);
  EXPECT_EQ(members.number(), 101);
  EXPECT_EQ(members.number(), 102);
  EXPECT_EQ(members.number(), 3);
  EXPECT_EQ(members.number(), 103);
  EXPECT_EQ(members.number(), 104);
  EXPECT_EQ(members.number(), 2);
  EXPECT_EQ(members.text(), "g");
  EXPECT_EQ(members.text(), "h");
  EXPECT_EQ(members.text(), "i");
  EXPECT_EQ(members.text(), "e");
  EXPECT_EQ(members.text(), "j");
  EXPECT_EQ(members.text(), "l");
  EXPECT_EQ(members.number(), 0);
  EXPECT_EQ(members.next<void*>(), nullptr);
  EXPECT_EQ(members.size(), sizeof(msg_content_item_t));
}

Address an_address() {
  Address address;
  address.num_a = 201;
  address.num_b = 202;
  address.num_c = 203;
  address.address = "+49 170";
  address.flag_e = 204;
  return address;
}

void expect_address(const msg_address_item_t* address) {
  MemberReader members(address);
  EXPECT_EQ(members.number(), 201);
  EXPECT_EQ(members.number(), 202);
  EXPECT_EQ(members.number(), 203);
  EXPECT_EQ(members.byte(), 204);
  EXPECT_EQ(members.text(), "+49 170");
  EXPECT_EQ(members.size(), sizeof(msg_address_item_t));
}

NmsMsgMeta a_meta() {
  NmsMsgMeta meta;
  meta.msgId = 301;
  meta.metaStr1 = "object";
  meta.metaStr2 = "correlation";
  meta.metaStr3 = "folder";
  meta.metaStr4 = "url";
  meta.metaInt64_1 = INT64_MAX;
  meta.metaInt64_2 = INT64_MIN;
  meta.metaInt1 = 302;
  meta.metaInt2 = 303;
  meta.metaFlag1 = true;
  meta.metaFlag2 = false;
  meta.metaFlag3 = true;
  return meta;
}

void expect_meta(const msg_nms_msg_meta_data_t* meta) {
  MemberReader members(meta);
  EXPECT_EQ(members.number(), 301);
  EXPECT_EQ(members.text(), "object");
  EXPECT_EQ(members.text(), "correlation");
  EXPECT_EQ(members.text(), "folder");
  EXPECT_EQ(members.text(), "url");
  EXPECT_EQ(members.number(), 302);
  EXPECT_EQ(members.number(), 303);
  EXPECT_EQ(members.long_number(), INT64_MAX);
  EXPECT_EQ(members.long_number(), INT64_MIN);
  EXPECT_EQ(members.byte(), 1);
  EXPECT_EQ(members.byte(), 0);
  EXPECT_EQ(members.byte(), 1);
  EXPECT_EQ(members.size(), sizeof(msg_nms_msg_meta_data_t));
}

Message a_message() {
  Message message;
  message.id = 1;
  message.num_b = 2;
  message.num_c = 3;
  message.str_d = "d";
  message.subType = 5;
  message.num_e = 6;
  message.num_f = 7;
  message.networkStatus = 8;
  message.num_h = 9;
  message.time_ms = 1234567890123;
  message.flag_j = 11;
  message.flag_k = 12;
  message.flag_l = 13;
  message.num_m = 14;
  message.num_n = 15;
  message.str_o = "o";
  message.str_p = "p";
  message.num_q = 18;
  message.flag_r = 19;
  message.str_s = "s";
  message.addresses = {an_address()};
  message.contents = {a_content()};
  message.nms_meta = a_meta();
  return message;
}

Conversation a_conversation() {
  Conversation conversation;
  conversation.id = 1;
  conversation.num_b = 2;
  conversation.num_c = 3;
  conversation.str_d = "d";
  conversation.num_e = 5;
  conversation.num_f = 6;
  conversation.num_g = 7;
  conversation.num_h = 8;
  conversation.time_ms = 1234567890123;
  conversation.flag_j = 10;
  conversation.flag_k = 11;
  conversation.flag_l = 12;
  conversation.num_m = 13;
  conversation.num_n = 14;
  conversation.flag_o = 15;
  conversation.num_p = 16;
  conversation.str_q = "q";
  conversation.str_r = "r";
  conversation.str_s = "s";
  conversation.str_t = "t";
  conversation.contents = {a_content()};
  return conversation;
}

using Conversion = ClientTest;

TEST_F(Conversion, OfAMessageFillsEveryMember) {
  fake::store().messages = {a_message()};
  const auto item = get_message();
  MemberReader members(item.get());
  EXPECT_EQ(members.number(), 1);  // id
  EXPECT_EQ(members.number(), 3);  // type
  EXPECT_EQ(members.text(), "d");  // body
  EXPECT_EQ(members.number(), 2);  // thread
  EXPECT_EQ(members.number(), 6);  // direction
  EXPECT_EQ(members.number(), 7);  // delivery
  EXPECT_EQ(members.number(), 8);  // network status
  EXPECT_EQ(members.byte(), 11);   // read
  EXPECT_EQ(members.number(), 1234567890);
  EXPECT_EQ(members.number(), 14);  // delivery report
  EXPECT_EQ(members.number(), 9);   // SIM
  EXPECT_EQ(members.number(), 18);  // size
  EXPECT_EQ(members.number(), 19);  // exported, widened
  EXPECT_EQ(members.number(), 15);  // retrieval
  EXPECT_EQ(members.byte(), 13);    // blocked
  EXPECT_EQ(members.byte(), 12);    // locked
  EXPECT_EQ(members.text(), "o");   // subject
  EXPECT_EQ(members.text(), "p");   // sender
  EXPECT_EQ(members.text(), "s");   // the phone's id
  const auto addresses = members.list<msg_address_item_t>();
  ASSERT_THAT(addresses, SizeIs(1));
  expect_address(addresses[0]);
  const auto contents = members.list<msg_content_item_t>();
  ASSERT_THAT(contents, SizeIs(1));
  expect_content(contents[0]);
  const auto* const meta = members.next<msg_nms_msg_meta_data_t*>();
  ASSERT_NE(meta, nullptr);
  expect_meta(meta);
  EXPECT_EQ(members.size(), sizeof(msg_message_item_t));
}

TEST_F(Conversion, OfAThreadFillsEveryMemberButTheOneThatIsAlwaysZero) {
  Thread thread;
  thread.id = 1;
  thread.num_b = 2;
  thread.num_c = 3;
  thread.num_d = 4;
  thread.flag_e = 5;
  thread.flag_f = 6;
  thread.num_g = 7;
  thread.num_h = 8;
  thread.num_i = 9;
  thread.time_ms = 1234567890123;
  thread.num_k = 11;
  thread.str_m = "m";
  thread.str_n = "n";
  thread.str_o = "o";
  thread.flag_p = 15;
  fake::store().threads = {thread};
  const auto view = get_thread();
  MemberReader members(view.get());
  EXPECT_EQ(members.number(), 1);
  EXPECT_EQ(members.text(), "m");
  EXPECT_EQ(members.text(), "n");
  EXPECT_EQ(members.text(), "o");
  EXPECT_EQ(members.number(), 1234567890);
  EXPECT_EQ(members.number(), 7);
  EXPECT_EQ(members.number(), 2);
  EXPECT_EQ(members.number(), 15);
  EXPECT_EQ(members.number(), 0);
  EXPECT_EQ(members.number(), 8);
  EXPECT_EQ(members.number(), 3);
  EXPECT_EQ(members.number(), 4);
  EXPECT_EQ(members.number(), 11);
  EXPECT_EQ(members.byte(), 6);
  EXPECT_EQ(members.byte(), 5);
  EXPECT_EQ(members.number(), 9);
  EXPECT_EQ(members.size(), sizeof(msg_thread_view_t));
}

TEST_F(Conversion, OfAConversationFillsEveryMember) {
  fake::store().conversations = {a_conversation()};
  const auto view = get_conversation();
  MemberReader members(view.get());
  EXPECT_EQ(members.number(), 1);
  EXPECT_EQ(members.number(), 3);
  EXPECT_EQ(members.text(), "d");
  EXPECT_EQ(members.number(), 2);
  EXPECT_EQ(members.number(), 6);
  EXPECT_EQ(members.number(), 5);
  EXPECT_EQ(members.number(), 7);
  EXPECT_EQ(members.number(), 1234567890);
  EXPECT_EQ(members.byte(), 10);
  EXPECT_EQ(members.number(), 13);
  EXPECT_EQ(members.text(), "s");
  EXPECT_EQ(members.text(), "t");
  EXPECT_EQ(members.number(), 8);
  EXPECT_EQ(members.number(), 16);
  EXPECT_EQ(members.number(), 15);
  EXPECT_EQ(members.text(), "q");
  EXPECT_EQ(members.text(), "r");
  EXPECT_EQ(members.number(), 14);
  EXPECT_EQ(members.byte(), 12);
  EXPECT_EQ(members.byte(), 11);
  const auto contents = members.list<msg_content_item_t>();
  ASSERT_THAT(contents, SizeIs(1));
  expect_content(contents[0]);
  EXPECT_EQ(members.size(), sizeof(msg_conversation_view_t));
}

TEST_F(Conversion, CutsTimesToSecondsTowardZero) {
  const std::array<std::pair<std::int64_t, int>, 7> rows = {{
      {1999, 1},
      {-1999, -1},
      {999, 0},
      {-999, 0},
      {2147483647999, INT_MAX},
      {2147483648000, INT_MIN},  // one second after the last that 32 bits hold
      {1000LL << 32, 0},
  }};
  for (const auto& [milliseconds, seconds] : rows) {
    SCOPED_TRACE(milliseconds);
    fake::store().messages = {Message()};
    fake::store().messages[0].time_ms = milliseconds;
    fake::store().threads = {Thread()};
    fake::store().threads[0].time_ms = milliseconds;
    fake::store().conversations = {Conversation()};
    fake::store().conversations[0].time_ms = milliseconds;
    EXPECT_EQ(get_message()->time_sec, seconds);
    EXPECT_EQ(get_thread()->time_sec, seconds);
    EXPECT_EQ(get_conversation()->time_sec, seconds);
  }
}

TEST_F(Conversion, LeavesOnlyThePhonesIdNullWhenTextsAreEmpty) {
  fake::store().messages = {Message()};
  const auto message = get_message();
  EXPECT_STREQ(message->text_3, "");
  EXPECT_STREQ(message->text_17, "");
  EXPECT_STREQ(message->text_18, "");
  EXPECT_EQ(message->text_19, nullptr);
  fake::store().conversations = {Conversation()};
  const auto conversation = get_conversation();
  EXPECT_STREQ(conversation->text_3, "");
  EXPECT_STREQ(conversation->text_11, "");
  EXPECT_STREQ(conversation->text_12, "");
  EXPECT_STREQ(conversation->text_17, "");
  EXPECT_EQ(conversation->text_16, nullptr);
}

TEST_F(Conversion, GivesNoListsWhereThereIsNothingToList) {
  fake::store().messages = {Message()};
  const auto message = get_message();
  EXPECT_EQ(message->address_list, nullptr);
  EXPECT_EQ(message->content_list, nullptr);
  fake::store().conversations = {Conversation()};
  EXPECT_EQ(get_conversation()->content_list, nullptr);
}

TEST_F(Conversion, KeepsTheOrderOfAddressesAndContents) {
  Message message;
  for (int i = 0; i < 5; ++i) {
    message.addresses.push_back(an_address());
    message.addresses.back().num_a = i;
    message.contents.push_back(a_content());
    message.contents.back().id = i;
  }
  fake::store().messages = {message};
  const auto item = get_message();
  for (unsigned int i = 0; i < 5; ++i) {
    EXPECT_EQ(static_cast<msg_address_item_t*>(g_slist_nth_data(item->address_list, i))->num_1, static_cast<int>(i));
    EXPECT_EQ(static_cast<msg_content_item_t*>(g_slist_nth_data(item->content_list, i))->content_id,
              static_cast<int>(i));
  }
}

TEST_F(Conversion, MakesUnknownKindsOtherAndKeepsEveryStatus) {
  const std::array<std::pair<int, int>, 9> kinds = {
      {{0, 5}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {7, 5}, {-1, 5}, {INT_MAX, 5}}};
  for (const auto& [stored, shown] : kinds) {
    SCOPED_TRACE(stored);
    Message message;
    message.contents = {a_content()};
    message.contents[0].kind = stored;
    message.contents[0].status = static_cast<Content::Status>(stored);
    fake::store().messages = {message};
    const auto item = get_message();
    const auto* const content = static_cast<msg_content_item_t*>(item->content_list->data);
    EXPECT_EQ(content->kind, shown);
    EXPECT_EQ(content->status, stored);
  }
}

TEST_F(Conversion, LeavesNetworkMetadataOutWhereNumberSyncIsNotSupported) {
  fake::store().numbersync_supported = false;
  fake::store().messages = {a_message()};
  EXPECT_EQ(get_message()->nms_meta, nullptr);
}

TEST_F(Conversion, AsksForNumberSyncOncePerMessage) {
  fake::store().messages = {a_message(), a_message(), a_message()};
  auto* list = static_cast<msg_list_handle_t*>(std::calloc(1, sizeof(msg_list_handle_t)));
  msg_list_condition_t condition = {};
  msg_consumer_get_message_list(list, &condition);
  EXPECT_EQ(fake::store().numbersync_asked, 3);
  msg_consumer_free_message_list(&list);
}

TEST_F(Conversion, PutsANullWhereAnElementCouldNotBeAllocated) {
  struct Row {
    const char* name;
    std::size_t size;
    const char* function;
  };
  const std::array<Row, 2> rows = {{
      {"address", sizeof(msg_address_item_t), "__convert_legacy_address"},
      {"content", sizeof(msg_content_item_t), "__convert_legacy_content"},
  }};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    LogCapture::instance().clear();
    fake::store().messages = {a_message()};
    fake::allocator().failing_size = row.size;
    const auto item = get_message();
    fake::allocator().failing_size = 0;
    expect_line(6, "[ERROR] invalid parameter!", "msg-consumer-client.cpp", row.function);
    const GSList* const list = row.size == sizeof(msg_address_item_t) ? item->address_list : item->content_list;
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->data, nullptr);
    EXPECT_EQ(list->next, nullptr);
  }
}

TEST_F(Conversion, PutsANullIntoAConversationToo) {
  fake::store().conversations = {a_conversation()};
  fake::allocator().failing_size = sizeof(msg_content_item_t);
  const auto view = get_conversation();
  fake::allocator().failing_size = 0;
  ASSERT_NE(view->content_list, nullptr);
  EXPECT_EQ(view->content_list->data, nullptr);
  expect_line(6, "[ERROR] invalid parameter!", "msg-consumer-client.cpp", "__convert_legacy_content");
}

TEST_F(Conversion, DoesWithoutNetworkMetadataThatCouldNotBeAllocated) {
  fake::store().messages = {a_message()};
  fake::allocator().failing_size = sizeof(msg_nms_msg_meta_data_t);
  const auto item = get_message();
  fake::allocator().failing_size = 0;
  EXPECT_EQ(item->nms_meta, nullptr);
  EXPECT_EQ(item->msg_id, 1);
  expect_line(6, "[ERROR] invalid parameter!", "msg-consumer-client.cpp", "__convert_legacy_nms_msg_meta");
}

TEST_F(Conversion, CopiesEveryTextSoThatTheRecordOutlivesTheStores) {
  fake::store().messages = {a_message()};
  const auto item = get_message();
  fake::store().messages.clear();
  EXPECT_STREQ(item->text_3, "d");
  expect_content(static_cast<msg_content_item_t*>(item->content_list->data));
}

}  // namespace
