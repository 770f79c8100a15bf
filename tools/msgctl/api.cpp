// SPDX-License-Identifier: Apache-2.0
#include "msgctl/api.hpp"

#include <cstring>
#include <utility>

#include "msgctl/failure.hpp"

namespace msgctl {
namespace {

// The library answers an empty result as "no data", which for a list is nothing to complain of.
void check_list(int status, const char* action) {
  if (status != MSG_CONSUMER_ERROR_NO_DATA) check_query(status, {action, "such record", {}});
}

Attempt reading_message(int message_id) {
  const std::string subject = "message " + std::to_string(message_id);
  return {"read " + subject, subject, "'msgctl messages' lists the messages."};
}

Part copy_of(const msg_content_item_t& content) {
  auto copy = zero_filled<Content>();
  const bool copied = msg_consumer_copy_content(&content, copy.get()) == 1;
  // Either the copy's own, which gets an owner here, or, where memory ran out, still the original's.
  msg_nms_content_meta_t* metadata = std::exchange(copy->nms_content_meta, nullptr);
  if (!copied) throw std::bad_alloc();
  return {std::move(copy), ContentMetadata(metadata)};
}

Attempt reading_thread(int thread_id) {
  const std::string subject = "thread " + std::to_string(thread_id);
  return {"read " + subject, subject, "'msgctl threads' lists the threads."};
}

}  // namespace

MessageItem get_message(int message_id) {
  auto message = zero_filled<MessageItem>();
  check_query(msg_consumer_get_message(message_id, 0, 0, message.get()), reading_message(message_id));
  return message;
}

ConversationItem get_conversation_entry(int message_id) {
  auto entry = zero_filled<ConversationItem>();
  check_query(msg_consumer_get_conversation_view(message_id, entry.get()), reading_message(message_id));
  return entry;
}

std::vector<Part> get_parts(int message_id) {
  const MessageItem message = get_message(message_id);
  std::vector<Part> parts;
  for (const GSList* node = message->content_list; node != nullptr; node = node->next) {
    if (node->data != nullptr) parts.push_back(copy_of(*static_cast<const msg_content_item_t*>(node->data)));
  }
  return parts;
}

ThreadItem get_thread(int thread_id) {
  auto thread = zero_filled<ThreadItem>();
  check_query(msg_consumer_get_thread_view(thread_id, thread.get()), reading_thread(thread_id));
  return thread;
}

ThreadList get_threads() {
  auto handle = zero_filled<ThreadList::Handle>();
  check_list(msg_consumer_get_thread_view_list(handle.get()), "list the threads");
  return ThreadList(std::move(handle));
}

ConversationList get_conversation(int thread_id) {
  auto handle = zero_filled<ConversationList::Handle>();
  check_query(msg_consumer_get_conversation_view_list(thread_id, handle.get()), reading_thread(thread_id));
  return ConversationList(std::move(handle));
}

AddressList get_addresses(int thread_id) {
  auto handle = zero_filled<AddressList::Handle>();
  check_query(msg_consumer_get_address_list(thread_id, handle.get()), reading_thread(thread_id));
  return AddressList(std::move(handle));
}

int get_thread_with(const std::string& address) {
  int thread_id = 0;
  check_query(msg_consumer_get_thread_id_by_address(address.c_str(), &thread_id),
              {"look for the thread", "thread with " + address + " alone", "'msgctl threads' lists the threads."});
  return thread_id;
}

MessageList get_messages(const MessageFilter& filter) {
  auto handle = zero_filled<MessageList::Handle>();
  auto condition = zero_filled<Condition>();
  condition->num_1 = filter.offset;
  condition->num_2 = filter.limit;
  condition->thread_id = filter.thread_id;
  if (!filter.keyword.empty() && (condition->keyword = strdup(filter.keyword.c_str())) == nullptr) {
    throw std::bad_alloc();
  }
  condition->flag_5 = filter.oldest_first ? 1 : 0;
  condition->flag_6 = filter.unread_only ? 1 : 0;
  check_list(msg_consumer_get_message_list(handle.get(), condition.get()), "list the messages");
  return MessageList(std::move(handle));
}

std::string MetadataKey::words() const {
  const std::string object = "object '" + object_id + "'";
  if (message_id == 0) return "metadata of " + object;
  const std::string message = "metadata of message " + std::to_string(message_id);
  return object_id.empty() ? message : message + " as " + object;
}

Metadata get_metadata(const MetadataKey& key) {
  auto metadata = zero_filled<Metadata>();
  check_query(msg_consumer_nms_get_msg_meta(key.message_id, key.object(), metadata.get()),
              {"read the " + key.words(), key.words(), {}});
  return metadata;
}

MetadataList get_uncorrelated_metadata(const CorrelationFilter& filter) {
  auto handle = zero_filled<MetadataList::Handle>();
  check_list(msg_consumer_nms_get_uncorrelated_msg_meta_list(filter.id.c_str(), filter.type, filter.match,
                                                             filter.with_deleted, handle.get()),
             "list the metadata");
  return MetadataList(std::move(handle));
}

MetadataList get_sync_required_metadata(bool with_deleted) {
  auto handle = zero_filled<MetadataList::Handle>();
  check_list(msg_consumer_nms_get_sync_required_msg_meta_list(with_deleted, handle.get()), "list the metadata");
  return MetadataList(std::move(handle));
}

MetadataList get_download_required_metadata() {
  auto handle = zero_filled<MetadataList::Handle>();
  check_list(msg_consumer_nms_get_download_required_msg_meta_list(handle.get()), "list the metadata");
  return MetadataList(std::move(handle));
}

bool is_download_required() {
  bool required = false;
  check_list(msg_consumer_nms_check_download_required_msg_exist(&required), "look for messages to download");
  return required;
}

Subscription get_subscription() {
  auto subscription = zero_filled<Subscription>();
  check_query(msg_consumer_nms_get_mssi_info(subscription.get()),
              {"read the subscription", "subscription", "'msgctl nms subscription set' stores one."});
  return subscription;
}

}  // namespace msgctl
