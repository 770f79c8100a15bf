// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_NMS_RECORD_HPP
#define MSG_CONSUMER_SERVICE_NMS_RECORD_HPP

#include <msg-consumer-common/Message.h>

#include <string>
#include <string_view>
#include <vector>

namespace msg_consumer::service {

/// A record as an application hands it in. Nothing in it is trusted.
struct SerializedRecord {
  std::string_view bytes;
  int size;  ///< what the application says: must be the number of bytes
};

/// The message in a record, fit to be stored: without ids of parts and addresses, and without the names of files, which
/// the service would otherwise open. Throws the refusal for what is no record, and for a message of nobody.
Message message_of(const SerializedRecord& record);

/// The metadata in a record. A message id below 1 becomes 0. Throws the refusal for what is no record.
NmsMsgMeta meta_of(const SerializedRecord& record);

/// Those with whom such a message is exchanged. The recipients of an incoming one are left out: the device is among
/// them under a number that it may not know.
std::vector<std::string> correspondents(const Message& message);

}  // namespace msg_consumer::service

#endif
