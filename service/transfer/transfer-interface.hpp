// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_TRANSFER_INTERFACE_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_TRANSFER_INTERFACE_HPP

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <chrono>
#include <memory>
#include <string>

#include <msg-consumer-platform/releaser.hpp>

#include "../announcer.hpp"
#include "../content-files.hpp"
#include "../store-writer.hpp"
#include "transfer.hpp"

namespace msg_consumer::service::transfer {

/// How long is waited for the other end of a stream. An export's snapshot keeps the write-ahead log from being
/// shortened, so its reader is waited for less long.
struct Patience {
  std::chrono::milliseconds with_reader{30'000};
  std::chrono::milliseconds with_writer{300'000};
};

/// Export and import on the bus, one at a time. Each runs in small slices between other calls, and is given up when
/// its caller leaves the bus or the other end of its stream does nothing for long.
class TransferInterface {
 public:
  /// Throws `std::system_error`.
  TransferInterface(sd_bus* bus, StoreWriter& store, const ContentFiles& files, Announcer& announcer,
                    Patience patience = {});
  ~TransferInterface() = default;
  TransferInterface(const TransferInterface&) = delete;
  TransferInterface& operator=(const TransferInterface&) = delete;

 private:
  template <auto method>
  static int handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;
  int export_store(sd_bus_message* call, sd_bus_error* error);
  int import_store(sd_bus_message* call, sd_bus_error* error);
  bool is_busy() const { return _running && !_running->is_over(); }
  void run(std::unique_ptr<Transfer> transfer);

  static const sd_bus_vtable VTABLE[];

  sd_bus* _bus;
  StoreWriter& _store;
  const ContentFiles& _files;
  Announcer& _announcer;
  Patience _patience;
  std::unique_ptr<Transfer> _running;
  Owned<sd_bus_slot, sd_bus_slot_unref> _slot;
};

}  // namespace msg_consumer::service::transfer

#endif
