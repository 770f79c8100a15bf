// SPDX-License-Identifier: Apache-2.0
// A packed row is refused, by both readers, or is what its message is packed to.
#include "schema/row-codec.hpp"
#include "target.hpp"

using namespace msg_consumer;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view packed = fuzz::view(data, size);
  Message message;
  std::string sender_name;
  const bool unpacked = schema::unpack_message(packed, message, &sender_name);
  if (unpacked) fuzz::require(schema::pack_message(message, sender_name) == packed);

  Conversation conversation;
  fuzz::require(schema::unpack_conversation(packed, conversation) == unpacked);
  if (unpacked)
    fuzz::require(conversation.str_d == message.str_d && conversation.contents.size() == message.contents.size());
  return 0;
}
