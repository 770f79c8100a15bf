// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_API_HPP
#define MSGCTL_API_HPP

// The C API's records and lists with owners, and its queries with failures as exceptions.

#include <msg-consumer/msg-consumer-client.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "msgctl/owned.hpp"

namespace msgctl {

using MessageItem = OwnedRecord<msg_message_item_t, msg_consumer_free_message_info>;
using ThreadItem = OwnedRecord<msg_thread_view_t, msg_consumer_free_thread_info>;
using ConversationItem = OwnedRecord<msg_conversation_view_t, msg_consumer_free_conversation_info>;
using Content = Owned<msg_content_item_t, msg_consumer_free_content_item>;
using ContentMetadata = Owned<msg_nms_content_meta_t, msg_consumer_free_nms_content_meta_item>;
using Condition = OwnedRecord<msg_list_condition_t, msg_consumer_free_condition_info>;
using Metadata = Owned<msg_nms_msg_meta_data_t, msg_consumer_free_nms_msg_meta_item>;
using Subscription = Owned<msg_nms_mssi_info_t, msg_consumer_free_nms_mssi_info>;

/// An empty record. The releases of the library end in free(), so what it fills has to come from calloc().
template <typename Owner>
Owner zero_filled() {
  using Record = typename Owner::element_type;
  Owner record(static_cast<Record*>(std::calloc(1, sizeof(Record))));  // NOLINT(cppcoreguidelines-no-malloc)
  if (!record) throw std::bad_alloc();
  return record;
}

/// The records of a list handle, as a range of `const Record&`.
template <typename Record, auto release>
class RecordList {
 public:
  using Handle = OwnedRecord<msg_list_handle_t, release>;

  class Iterator {
   public:
    explicit Iterator(const GSList* node) : _node(node) { skip_missing(); }
    const Record& operator*() const { return *static_cast<const Record*>(_node->data); }
    Iterator& operator++() {
      _node = _node->next;
      skip_missing();
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    // The library leaves a NULL element where it ran out of memory.
    void skip_missing() {
      while (_node != nullptr && _node->data == nullptr) _node = _node->next;
    }
    const GSList* _node;
  };

  explicit RecordList(Handle handle) : _handle(std::move(handle)) {}

  [[nodiscard]] Iterator begin() const { return Iterator(_handle->list); }
  [[nodiscard]] Iterator end() const { return Iterator(nullptr); }
  [[nodiscard]] bool empty() const { return begin() == end(); }

 private:
  Handle _handle;
};

using MessageList = RecordList<msg_message_item_t, msg_consumer_free_message_list>;
using ThreadList = RecordList<msg_thread_view_t, msg_consumer_free_thread_list>;
using ConversationList = RecordList<msg_conversation_view_t, msg_consumer_free_conversation_list>;
using AddressList = RecordList<msg_address_item_t, msg_consumer_free_address_list>;
using MetadataList = RecordList<msg_nms_msg_meta_data_t, msg_consumer_free_nms_msg_meta_list>;

/// The messages to list. Nothing set means all of them, newest first.
struct MessageFilter {
  int offset = 0;
  int limit = 0;
  int thread_id = 0;
  std::string keyword;
  bool oldest_first = false;
  bool unread_only = false;
};

MessageItem get_message(int message_id);

/// One message as it is shown in its thread.
ConversationItem get_conversation_entry(int message_id);

/// A part of a message, and what the network store keeps of it, if anything.
struct Part {
  Content content;
  ContentMetadata network_store;
};

/// The parts of a message, which outlive it.
std::vector<Part> get_parts(int message_id);

/// Fails when there is no such thread.
ThreadItem get_thread(int thread_id);

/// Empty when there are none.
ThreadList get_threads();

/// Fails when there is no such thread.
ConversationList get_conversation(int thread_id);

/// The participants of a thread; fails when there is no such thread.
AddressList get_addresses(int thread_id);

/// The thread whose only participant is `address`; fails when there is none.
int get_thread_with(const std::string& address);

/// Empty when none matches.
MessageList get_messages(const MessageFilter& filter);

/// What metadata of the network message store is found by: the message, the object, or both.
struct MetadataKey {
  int message_id = 0;
  std::string object_id;

  /// The object id as the library takes it: NULL for none.
  [[nodiscard]] const char* object() const { return object_id.empty() ? nullptr : object_id.c_str(); }

  /// "metadata of message 3 as object 'a1'".
  [[nodiscard]] std::string words() const;
};

/// Which metadata without a local message to list.
struct CorrelationFilter {
  std::string id;
  int type = 0;
  int match = 0;
  bool with_deleted = false;
};

/// Fails when there is none.
Metadata get_metadata(const MetadataKey& key);

// Empty when there is none.
MetadataList get_uncorrelated_metadata(const CorrelationFilter& filter);
MetadataList get_sync_required_metadata(bool with_deleted);
MetadataList get_download_required_metadata();

/// Whether any message still needs a download.
bool is_download_required();

/// Fails when there is none.
Subscription get_subscription();

}  // namespace msgctl

#endif
