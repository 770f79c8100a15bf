// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_PHONE_HPP
#define MSG_CONSUMER_SERVICE_PHONE_HPP

#include <msg-consumer-common/Message.h>

#include <string>

namespace msg_consumer::service {

/// The paired phone, which messages are exported to. This one takes every message.
class Phone {
 public:
  /// What the phone says to a message.
  struct Answer {
    enum Kind { ACCEPTED, REFUSED, NONE } kind = ACCEPTED;
    std::string phone_id = {};  ///< its own id of the message that it has accepted
    int status = 0;             ///< why it has refused
  };

  Phone() = default;
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;
  virtual ~Phone() = default;

  virtual Answer store(const Message& message) { return {.phone_id = "phone-" + std::to_string(message.id)}; }
};

}  // namespace msg_consumer::service

#endif
