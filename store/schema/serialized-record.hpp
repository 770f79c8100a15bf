// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_SERIALIZED_RECORD_HPP
#define MSG_CONSUMER_STORE_SCHEMA_SERIALIZED_RECORD_HPP

// The serialised form of a record: a JSON object, written by the store library and read by the service.

#include <optional>
#include <string>
#include <string_view>

#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer/msg-consumer-record.h>

namespace msg_consumer::schema {

/// The version that every serialised record names; another one is refused.
inline constexpr int SERIALIZED_RECORD_VERSION = 1;

/// The longest text that is decoded, in bytes.
inline constexpr std::size_t MAX_SERIALIZED_SIZE = std::size_t{4} * 1024 * 1024;

/// Nothing for text that is not UTF-8, for a list with a missing element, and for what would be too long to decode.
/// May throw std::bad_alloc.
std::optional<std::string> encode_message(const msg_message_item_t& message);

/// Reads a serialised message. Refused, with nothing returned: text that is too long, is not UTF-8 or not JSON, is
/// nested too deeply, has a wrong version, an unknown, missing or repeated member, or a value of the wrong type or
/// out of range.
std::optional<Message> decode_message(std::string_view text);

/// Metadata of the network message store, on the same terms as a message.
std::optional<std::string> encode_nms_meta(const msg_nms_msg_meta_data_t& meta);
std::optional<NmsMsgMeta> decode_nms_meta(std::string_view text);

}  // namespace msg_consumer::schema

#endif
