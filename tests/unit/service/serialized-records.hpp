// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SERIALIZED_RECORDS_HPP
#define MSG_CONSUMER_TESTS_SERIALIZED_RECORDS_HPP

#include <msg-consumer-common/Message.h>

#include <string>

#include "schema/serialized-record.hpp"
#include "service/nms-record.hpp"
#include "unit/store/public-records.hpp"

namespace msg_consumer::test {

inline std::string serialized(const Message& message) {
  return schema::encode_message(PublicMessage(message).record).value();
}

inline std::string serialized(const NmsMsgMeta& meta) { return schema::encode_nms_meta(public_record(meta)).value(); }

/// The text must outlive the record.
inline service::SerializedRecord as_record(const std::string& text) {
  return {.bytes = text, .size = static_cast<int>(text.size())};
}

}  // namespace msg_consumer::test

#endif
