// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_ROW_CODEC_HPP
#define MSG_CONSUMER_STORE_SCHEMA_ROW_CODEC_HPP

// A message's row: what is filtered or sorted on are columns, everything else (texts, small numbers, addresses,
// parts) is one packed blob, so that a list reads one row per message and nothing else.

#include <string>
#include <string_view>

#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/Message.h>

namespace msg_consumer::schema {

/// Packs everything of a message that is not a column: all members but id, thread id, type, delivery, time, read and
/// locked, and the network store's metadata. `sender_name` is the sender's display name, empty when there is none.
std::string pack_message(const Message& message, std::string_view sender_name);

/// Unpacks into the members that `pack_message` took; parts take the message id from `message.id`, which must be set.
/// Returns false for bytes that it did not write; the record is then unspecified.
bool unpack_message(std::string_view packed, Message& message, std::string* sender_name);

/// As `unpack_message`, for a message shown inside its thread; skips what that does not hold.
bool unpack_conversation(std::string_view packed, Conversation& conversation);

}  // namespace msg_consumer::schema

#endif
