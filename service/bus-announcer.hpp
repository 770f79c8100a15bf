// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_BUS_ANNOUNCER_HPP
#define MSG_CONSUMER_SERVICE_BUS_ANNOUNCER_HPP

#include <systemd/sd-bus.h>

#include "announcer.hpp"

namespace msg_consumer::service {

/// Announces changes as signals.
class BusAnnouncer final : public Announcer {
 public:
  explicit BusAnnouncer(sd_bus* bus) : _bus(bus) {}

  void announce(const Announcement& announcement) noexcept override;

 private:
  sd_bus* _bus;
};

}  // namespace msg_consumer::service

#endif
