// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_JOURNAL_INTERFACE_HPP
#define MSG_CONSUMER_SERVICE_JOURNAL_INTERFACE_HPP

#include <systemd/sd-bus.h>

#include <msg-consumer-platform/releaser.hpp>

#include "store-writer.hpp"

namespace msg_consumer::service {

/// The kept changes and device requests, on the bus: for whoever missed a signal.
class JournalInterface {
 public:
  /// Throws `std::system_error`.
  JournalInterface(sd_bus* bus, StoreWriter& store);

 private:
  template <auto method>
  static int handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;
  int get_changes(sd_bus_message* call);
  int get_device_requests(sd_bus_message* call);

  static const sd_bus_vtable VTABLE[];

  StoreWriter& _store;
  Owned<sd_bus_slot, sd_bus_slot_unref> _slot;
};

}  // namespace msg_consumer::service

#endif
