// SPDX-License-Identifier: Apache-2.0
#include "nms-record.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "record-values.hpp"
#include "schema/address.hpp"
#include "schema/serialized-record.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

template <typename Record>
Record decoded(const SerializedRecord& record, std::optional<Record> (*decode)(std::string_view)) {
  require(std::cmp_equal(record.bytes.size(), record.size), STATUS_INVALID_ARGUMENT);
  std::optional<Record> result = decode(record.bytes);
  require(result.has_value(), STATUS_INVALID_ARGUMENT);
  return *std::move(result);
}

void check_addresses(const Message& message) {
  require(!message.str_p.empty() || !message.addresses.empty(), STATUS_INVALID_ARGUMENT);
  require(message.str_p.empty() || !schema::normalise_address(message.str_p).empty(), STATUS_INVALID_ARGUMENT);
  for (const Address& address : message.addresses) {
    require(!schema::normalise_address(address.address).empty(), STATUS_INVALID_ARGUMENT);
  }
}

/// A record does not hold the sub-type.
MessageSubType sub_type_of(const Message& message) {
  if (message.flag_l != 0) {
    return SUBTYPE_BLOCKED;
  }
  const bool is_retrieved = message.num_n == RETRIEVAL_NONE || message.num_n == RETRIEVAL_DONE;
  return message.num_c == TYPE_MMS && !is_retrieved ? SUBTYPE_MMS_NOTIFICATION : SUBTYPE_PLAIN;
}

bool is_on_its_way(const Message& message) {
  return message.num_f == DELIVERY_QUEUED || message.num_f == DELIVERY_SENDING;
}

void drop_foreign_files(Message& message) {
  for (Content& part : message.contents) {
    part.id = 0;
    if (!std::exchange(part.str_g, {}).empty()) {
      part.flag_d = 0;
    }
    part.str_i.clear();
  }
}

}  // namespace

Message message_of(const SerializedRecord& record) {
  Message message = decoded(record, schema::decode_message);
  check_addresses(message);
  drop_foreign_files(message);
  message.subType = sub_type_of(message);
  // The network carries what is on its way, and only an outgoing message can be.
  if (message.num_e != DIRECTION_OUTGOING && is_on_its_way(message)) {
    message.num_f = DELIVERY_NONE;
  }
  return message;
}

NmsMsgMeta meta_of(const SerializedRecord& record) {
  NmsMsgMeta meta = decoded(record, schema::decode_nms_meta);
  meta.msgId = std::max(meta.msgId, 0);
  return meta;
}

std::vector<std::string> correspondents(const Message& message) {
  const bool is_incoming = message.num_e == DIRECTION_INCOMING;
  std::vector<std::string> result;
  if (is_incoming && !message.str_p.empty()) {
    result.push_back(message.str_p);
  }
  for (const Address& address : message.addresses) {
    const bool is_recipient = address.num_c == ROLE_TO || address.num_c == ROLE_CC;
    if (address.flag_e == 0 && !(is_incoming && is_recipient)) {
      result.push_back(address.address);
    }
  }
  return result;
}

}  // namespace msg_consumer::service
