// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_ANNOUNCER_HPP
#define MSG_CONSUMER_SERVICE_ANNOUNCER_HPP

#include "change.hpp"

namespace msg_consumer::service {

/// Tells the world of committed changes, in the order of their revisions.
class Announcer {
 public:
  Announcer() = default;
  Announcer(const Announcer&) = delete;
  Announcer& operator=(const Announcer&) = delete;
  virtual ~Announcer() = default;

  /// The change stands already, so a failure is logged and changes nothing.
  virtual void announce(const Announcement& announcement) noexcept = 0;
};

}  // namespace msg_consumer::service

#endif
