// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_RECORD_VALUES_HPP
#define MSG_CONSUMER_SERVICE_RECORD_VALUES_HPP

// The values of the records' numbers, by name; the records' headers say which member holds which.

namespace msg_consumer::service {

enum MessageType { TYPE_SMS = 1, TYPE_MMS = 2, TYPE_GROUP_CHAT = 3 };

enum MessageSubType { SUBTYPE_PLAIN = 0, SUBTYPE_MMS_NOTIFICATION = 1, SUBTYPE_REPORT = 2, SUBTYPE_BLOCKED = 3 };

enum Direction { DIRECTION_INCOMING = 1, DIRECTION_OUTGOING = 2, DIRECTION_DRAFT = 3 };

enum Delivery {
  DELIVERY_NONE = 0,
  DELIVERY_QUEUED = 1,
  DELIVERY_SENDING = 2,
  DELIVERY_SENT = 3,
  DELIVERY_DELIVERED = 4,
  DELIVERY_FAILED = 5,
};

enum Retrieval {
  RETRIEVAL_NONE = 0,
  RETRIEVAL_NEEDED = 1,
  RETRIEVAL_RUNNING = 2,
  RETRIEVAL_DONE = 3,
  RETRIEVAL_FAILED = 4,
};

enum AddressRole { ROLE_ANY = 0, ROLE_FROM = 1, ROLE_TO = 2, ROLE_CC = 3 };

}  // namespace msg_consumer::service

#endif
