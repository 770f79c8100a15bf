// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/msg-serialize.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>

#include <msg-consumer-platform/logging.hpp>

#include "schema/serialized-record.hpp"

namespace {

/// Hands a serialised record to a caller who releases it with free().
template <typename Record>
int serialize(const msg_consumer::CallSite& site, std::optional<std::string> (*encode)(const Record&),
              const Record* record, char** out) try {
  if (record == nullptr || out == nullptr) return 0;
  const auto text = encode(*record);
  if (!text) {
    LOG_ERROR(site, "[ERROR] the record is incomplete, too long or not UTF-8");
    return 0;
  }
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
  auto* buffer = static_cast<char*>(std::malloc(text->size() + 1));
  if (buffer == nullptr) throw std::bad_alloc();
  std::memcpy(buffer, text->c_str(), text->size() + 1);
  *out = buffer;
  return static_cast<int>(text->size());
} catch (const std::bad_alloc&) {
  LOG_ERROR(site, "[ERROR] out of memory");
  return 0;
}

}  // namespace

int msg_serialize_message(const msg_message_item_t* message, char** out) {
  return serialize(HERE, msg_consumer::schema::encode_message, message, out);
}

int msg_serialize_nms_msg_meta(const msg_nms_msg_meta_data_t* meta, char** out) {
  return serialize(HERE, msg_consumer::schema::encode_nms_meta, meta, out);
}
