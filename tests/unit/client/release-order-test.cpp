// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer/msg-consumer-client.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

// The order in which a record's pieces are released is fixed. This executable defines free() and notes what goes.

namespace {

std::array<const void*, 256> freed;
std::size_t freed_count = 0;
bool recording = false;

}  // namespace

extern "C" {

void __libc_free(void* block);  // NOLINT(bugprone-reserved-identifier): glibc's own name for what this file replaces

void free(void* block) noexcept {
  if (recording && block != nullptr && freed_count < freed.size()) freed[freed_count++] = block;
  __libc_free(block);
}

}  // extern "C"

namespace {

using Pieces = std::vector<const void*>;

/// What `release` frees of `pieces`, in its order; list nodes and the like are left out.
template <typename Release>
Pieces released(const Pieces& pieces, Release release) {
  freed_count = 0;
  recording = true;
  release();
  recording = false;
  Pieces order;
  for (std::size_t i = 0; i < freed_count; ++i) {
    if (std::find(pieces.begin(), pieces.end(), freed[i]) != pieces.end()) order.push_back(freed[i]);
  }
  return order;
}

template <typename Record>
Record* zeroed() {
  return static_cast<Record*>(std::calloc(1, sizeof(Record)));
}

char* text() { return strdup("text"); }

template <typename Record>
void append(GSList*& list, Record* record) {
  list = g_slist_append(list, record);
}

msg_nms_content_meta_t* content_meta(Pieces& order) {
  auto* const meta = zeroed<msg_nms_content_meta_t>();
  order.insert(order.end(), {meta->text_3 = text(), meta->text_5 = text(), meta->text_4 = text(), meta});
  return meta;
}

msg_content_item_t* content(Pieces& order) {
  auto* const item = zeroed<msg_content_item_t>();
  order.insert(order.end(), {item->text_7 = text(), item->text_8 = text(), item->text_9 = text(),
                             item->text_10 = text(), item->text_11 = text(), item->text_12 = text()});
  item->nms_content_meta = content_meta(order);
  order.push_back(item);
  return item;
}

msg_address_item_t* address(Pieces& order) {
  auto* const item = zeroed<msg_address_item_t>();
  order.insert(order.end(), {item->address = text(), item});
  return item;
}

msg_nms_msg_meta_data_t* meta(Pieces& order) {
  auto* const item = zeroed<msg_nms_msg_meta_data_t>();
  order.insert(order.end(), {item->meta_str1 = text(), item->meta_str2 = text(), item->meta_str3 = text(),
                             item->meta_str4 = text(), item});
  return item;
}

TEST(ReleaseOrder, OfAMessage) {
  Pieces order;
  auto* message = zeroed<msg_message_item_t>();
  order.insert(order.end(), {message->text_3 = text(), message->text_17 = text(), message->text_18 = text(),
                             message->text_19 = text()});
  for (int i = 0; i < 2; ++i) append(message->address_list, address(order));
  for (int i = 0; i < 2; ++i) append(message->content_list, content(order));
  message->nms_meta = meta(order);
  order.push_back(message);
  EXPECT_EQ(released(order, [&] { msg_consumer_free_message_info(&message); }), order);
}

TEST(ReleaseOrder, OfAThread) {
  Pieces order;
  auto* thread = zeroed<msg_thread_view_t>();
  order.insert(order.end(), {thread->text_2 = text(), thread->text_4 = text(), thread->text_3 = text(), thread});
  EXPECT_EQ(released(order, [&] { msg_consumer_free_thread_info(&thread); }), order);
}

TEST(ReleaseOrder, OfAConversation) {
  Pieces order;
  auto* conversation = zeroed<msg_conversation_view_t>();
  order.insert(order.end(),
               {conversation->text_3 = text(), conversation->text_11 = text(), conversation->text_12 = text(),
                conversation->text_17 = text(), conversation->text_16 = text()});
  append(conversation->content_list, content(order));
  order.push_back(conversation);
  EXPECT_EQ(released(order, [&] { msg_consumer_free_conversation_info(&conversation); }), order);
}

TEST(ReleaseOrder, OfAListIsElementsThenHandle) {
  Pieces order;
  auto* handle = zeroed<msg_list_handle_t>();
  for (int i = 0; i < 3; ++i) append(handle->list, address(order));
  order.push_back(handle);
  EXPECT_EQ(released(order, [&] { msg_consumer_free_address_list(&handle); }), order);
}

TEST(ReleaseOrder, OfAConditionAndOfASubscription) {
  Pieces order;
  auto* condition = zeroed<msg_list_condition_t>();
  order.insert(order.end(), {condition->keyword = text(), condition});
  EXPECT_EQ(released(order, [&] { msg_consumer_free_condition_info(&condition); }), order);
  order.clear();
  auto* const subscription = zeroed<msg_nms_mssi_info_t>();
  order.insert(order.end(), {subscription->restart_token = text(), subscription});
  EXPECT_EQ(released(order, [&] { msg_consumer_free_nms_mssi_info(subscription); }), order);
}

}  // namespace
