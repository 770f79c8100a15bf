// SPDX-License-Identifier: Apache-2.0
#include "bus-announcer.hpp"

#include <msg-consumer-platform/logging.hpp>

#include "bus-names.hpp"

namespace msg_consumer::service {

void BusAnnouncer::announce(const Announcement& announcement) noexcept {
  const int result =
      sd_bus_emit_signal(_bus, OBJECT_PATH, INTERFACE_NAME, announcement.signal, "s", announcement.body.c_str());
  if (result < 0) {
    LOG_ERROR(HERE, "[ERROR] sd_bus_emit_signal() failed for signalName:(%s): (%d)", announcement.signal, result);
  }
}

}  // namespace msg_consumer::service
