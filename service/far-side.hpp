// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_FAR_SIDE_HPP
#define MSG_CONSUMER_SERVICE_FAR_SIDE_HPP

#include <msg-consumer-common/Message.h>

namespace msg_consumer::service {

/// What is at the other end of the loopback network, and decides what becomes of messages there. This one takes and
/// delivers everything.
///
/// It is asked inside a beat's transaction: what it was asked counts once that is committed, and never happened when
/// the next beat begins without.
class FarSide {
 public:
  FarSide() = default;
  FarSide(const FarSide&) = delete;
  FarSide& operator=(const FarSide&) = delete;
  virtual ~FarSide() = default;

  virtual void beat_begins() {}
  virtual void beat_is_committed() noexcept {}

  /// Whether a queued message has to wait.
  virtual bool holds(int /*message_id*/) { return false; }
  /// Whether sending the message fails.
  virtual bool fails(int /*message_id*/) { return false; }
  /// Whether delivery is reported without further ado.
  virtual bool reports() { return true; }
  /// Completes a message that is being retrieved. Returns false when that fails.
  virtual bool complete(Message& /*message*/) { return true; }
};

}  // namespace msg_consumer::service

#endif
