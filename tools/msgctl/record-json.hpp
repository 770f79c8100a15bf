// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_RECORD_JSON_HPP
#define MSGCTL_RECORD_JSON_HPP

#include <msg-consumer/msg-consumer-record.h>

#include <string>

namespace msgctl {

/// Each record as one JSON object on one line.
std::string json_of(const msg_message_item_t& message);
std::string json_of(const msg_conversation_view_t& message);
std::string json_of(const msg_thread_view_t& thread);
std::string json_of(const msg_address_item_t& address);

/// A part, with what the network store keeps of it; null for nothing.
std::string json_of(const msg_content_item_t& content, const msg_nms_content_meta_t* network_store);

std::string json_of(const msg_nms_msg_meta_data_t& meta);

}  // namespace msgctl

#endif
