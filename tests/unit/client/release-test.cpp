// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <cstring>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

// What a release forgets, the leak checker reports: these tests mean most when it is on.

namespace {

template <typename Record>
Record* zeroed() {
  return static_cast<Record*>(std::calloc(1, sizeof(Record)));
}

char* text() { return strdup("text"); }

msg_nms_content_meta_t* a_content_meta() {
  auto* const meta = zeroed<msg_nms_content_meta_t>();
  meta->text_3 = text();
  meta->text_4 = text();
  meta->text_5 = text();
  return meta;
}

msg_content_item_t* a_content() {
  auto* const content = zeroed<msg_content_item_t>();
  content->text_7 = text();
  content->text_8 = text();
  content->text_9 = text();
  content->text_10 = text();
  content->text_11 = text();
  content->text_12 = text();
  content->nms_content_meta = a_content_meta();
  return content;
}

msg_address_item_t* an_address() {
  auto* const address = zeroed<msg_address_item_t>();
  address->address = text();
  return address;
}

msg_nms_msg_meta_data_t* a_meta() {
  auto* const meta = zeroed<msg_nms_msg_meta_data_t>();
  meta->meta_str1 = text();
  meta->meta_str2 = text();
  meta->meta_str3 = text();
  meta->meta_str4 = text();
  return meta;
}

msg_message_item_t* a_message() {
  auto* const message = zeroed<msg_message_item_t>();
  message->text_3 = text();
  message->text_17 = text();
  message->text_18 = text();
  message->text_19 = text();
  for (void* address : {static_cast<void*>(an_address()), static_cast<void*>(nullptr),
                        static_cast<void*>(zeroed<msg_address_item_t>())}) {
    message->address_list = g_slist_append(message->address_list, address);
  }
  for (void* content : {static_cast<void*>(a_content()), static_cast<void*>(nullptr),
                        static_cast<void*>(zeroed<msg_content_item_t>())}) {
    message->content_list = g_slist_append(message->content_list, content);
  }
  message->nms_meta = a_meta();
  return message;
}

msg_thread_view_t* a_thread() {
  auto* const thread = zeroed<msg_thread_view_t>();
  thread->text_2 = text();
  thread->text_3 = text();
  thread->text_4 = text();
  return thread;
}

msg_conversation_view_t* a_conversation() {
  auto* const conversation = zeroed<msg_conversation_view_t>();
  conversation->text_3 = text();
  conversation->text_11 = text();
  conversation->text_12 = text();
  conversation->text_16 = text();
  conversation->text_17 = text();
  conversation->content_list = g_slist_append(nullptr, a_content());
  conversation->content_list = g_slist_append(conversation->content_list, nullptr);
  return conversation;
}

template <typename Record>
void expect_release(void (*release)(Record**), Record* (*make)()) {
  release(nullptr);
  Record* record = nullptr;
  release(&record);
  EXPECT_EQ(record, nullptr);
  record = zeroed<Record>();
  release(&record);
  EXPECT_EQ(record, nullptr);
  record = make();
  release(&record);
  EXPECT_EQ(record, nullptr);
}

TEST(Release, OfOneRecordToleratesNullAtEveryLevelAndClearsThePointer) {
  expect_release(msg_consumer_free_message_info, a_message);
  expect_release(msg_consumer_free_thread_info, a_thread);
  expect_release(msg_consumer_free_conversation_info, a_conversation);
  expect_release<msg_list_condition_t>(msg_consumer_free_condition_info, [] {
    auto* const condition = zeroed<msg_list_condition_t>();
    condition->keyword = text();
    return condition;
  });
}

template <typename Record>
void expect_list_release(void (*release)(msg_list_handle_t**), Record* (*make)()) {
  release(nullptr);
  msg_list_handle_t* handle = nullptr;
  release(&handle);
  EXPECT_EQ(handle, nullptr);
  handle = zeroed<msg_list_handle_t>();
  release(&handle);
  EXPECT_EQ(handle, nullptr) << "an empty list's handle is released too";
  handle = zeroed<msg_list_handle_t>();
  handle->list = g_slist_append(handle->list, make());
  handle->list = g_slist_append(handle->list, nullptr);
  handle->list = g_slist_append(handle->list, zeroed<Record>());
  handle->list = g_slist_append(handle->list, make());
  release(&handle);
  EXPECT_EQ(handle, nullptr);
}

TEST(Release, OfAListSkipsNullElementsAndClearsTheHandle) {
  expect_list_release(msg_consumer_free_message_list, a_message);
  expect_list_release(msg_consumer_free_thread_list, a_thread);
  expect_list_release(msg_consumer_free_conversation_list, a_conversation);
  expect_list_release(msg_consumer_free_address_list, an_address);
  expect_list_release(msg_consumer_free_nms_msg_meta_list, a_meta);
}

TEST(Release, OfAContentDoesNotClearTheCallersPointer) {
  msg_consumer_free_content_item(nullptr);
  msg_consumer_free_content_item(zeroed<msg_content_item_t>());
  auto* const content = a_content();
  auto* const same = content;
  msg_consumer_free_content_item(content);
  EXPECT_EQ(content, same);
}

TEST(Release, OfNetworkMetadataToleratesNull) {
  msg_consumer_free_nms_msg_meta_item(nullptr);
  msg_consumer_free_nms_msg_meta_item(zeroed<msg_nms_msg_meta_data_t>());
  msg_consumer_free_nms_msg_meta_item(a_meta());
  msg_consumer_free_nms_content_meta_item(nullptr);
  msg_consumer_free_nms_content_meta_item(zeroed<msg_nms_content_meta_t>());
  msg_consumer_free_nms_content_meta_item(a_content_meta());
}

using Copy = ClientTest;

msg_content_item_t* a_numbered_content() {
  auto* const content = a_content();
  content->content_id = 1;
  content->num_2 = 2;
  content->kind = 3;
  content->flag_4 = 4;
  content->flag_5 = 5;
  content->status = 6;
  content->reserved_13 = 13;
  content->nms_content_meta->num_1 = 21;
  content->nms_content_meta->num_2 = 22;
  content->nms_content_meta->num_6 = 26;
  return content;
}

TEST_F(Copy, IsIndependentOfItsSource) {
  auto* const source = a_numbered_content();
  auto* const target = zeroed<msg_content_item_t>();
  EXPECT_EQ(msg_consumer_copy_content(source, target), 1);
  EXPECT_NE(target->text_7, source->text_7);
  EXPECT_NE(target->nms_content_meta, source->nms_content_meta);
  msg_consumer_free_content_item(source);
  EXPECT_EQ(target->content_id, 1);
  EXPECT_EQ(target->num_2, 2);
  EXPECT_EQ(target->kind, 3);
  EXPECT_EQ(target->flag_4, 4);
  EXPECT_EQ(target->flag_5, 5);
  EXPECT_EQ(target->status, 6);
  EXPECT_EQ(target->reserved_13, 13);
  for (const char* copied :
       {target->text_7, target->text_8, target->text_9, target->text_10, target->text_11, target->text_12,
        target->nms_content_meta->text_3, target->nms_content_meta->text_4, target->nms_content_meta->text_5}) {
    EXPECT_STREQ(copied, "text");
  }
  EXPECT_EQ(target->nms_content_meta->num_1, 21);
  EXPECT_EQ(target->nms_content_meta->num_2, 22);
  EXPECT_EQ(target->nms_content_meta->num_6, 26);
  msg_consumer_free_content_item(target);
}

TEST_F(Copy, OfEmptyMembersHasNone) {
  auto* const source = zeroed<msg_content_item_t>();
  auto* const target = zeroed<msg_content_item_t>();
  EXPECT_EQ(msg_consumer_copy_content(source, target), 1);
  EXPECT_EQ(target->text_7, nullptr);
  EXPECT_EQ(target->text_12, nullptr);
  EXPECT_EQ(target->nms_content_meta, nullptr);
  source->nms_content_meta = zeroed<msg_nms_content_meta_t>();
  EXPECT_EQ(msg_consumer_copy_content(source, target), 1);
  ASSERT_NE(target->nms_content_meta, nullptr);
  EXPECT_EQ(target->nms_content_meta->text_3, nullptr);
  msg_consumer_free_content_item(source);
  msg_consumer_free_content_item(target);
}

TEST_F(Copy, NeedsBothSides) {
  auto* const content = a_numbered_content();
  EXPECT_EQ(msg_consumer_copy_content(nullptr, content), 0);
  EXPECT_EQ(msg_consumer_copy_content(content, nullptr), 0);
  EXPECT_EQ(msg_consumer_copy_content(nullptr, nullptr), 0);
  EXPECT_EQ(content->content_id, 1);
  EXPECT_TRUE(LogCapture::instance().lines().empty());
  msg_consumer_free_content_item(content);
}

TEST_F(Copy, KeepsItsStringsWhenTheMetadataCannotBeAllocated) {
  auto* const source = a_numbered_content();
  auto* const target = zeroed<msg_content_item_t>();
  fake::allocator().failing_malloc0 = 0;
  EXPECT_EQ(msg_consumer_copy_content(source, target), 0);
  expect_line(6, "[ERROR] msg_copy_content_nms_meta_data is failed", "msg-consumer-client.cpp",
              "msg_consumer_copy_content");
  EXPECT_EQ(target->nms_content_meta, source->nms_content_meta);
  EXPECT_NE(target->text_7, source->text_7);
  // A caller that releases all but the metadata frees nothing of the source's.
  target->nms_content_meta = nullptr;
  msg_consumer_free_content_item(target);
  EXPECT_STREQ(source->text_7, "text");
  msg_consumer_free_content_item(source);
}

}  // namespace
