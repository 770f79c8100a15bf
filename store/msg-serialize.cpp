// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/msg-serialize.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <msg-consumer-platform/logging.hpp>

#include "schema/serialized-message.hpp"

int msg_serialize_message(const msg_message_item_t* message, char** out) try {
  if (message == nullptr || out == nullptr) return 0;
  const auto text = msg_consumer::schema::encode_message(*message);
  if (!text) {
    LOG_ERROR(HERE, "[ERROR] the message is incomplete, too long or not UTF-8");
    return 0;
  }
  // The caller releases it with free().
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
  auto* buffer = static_cast<char*>(std::malloc(text->size() + 1));
  if (buffer == nullptr) throw std::bad_alloc();
  std::memcpy(buffer, text->c_str(), text->size() + 1);
  *out = buffer;
  return static_cast<int>(text->size());
} catch (const std::bad_alloc&) {
  LOG_ERROR(HERE, "[ERROR] out of memory");
  return 0;
}
