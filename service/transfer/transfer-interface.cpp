// SPDX-License-Identifier: Apache-2.0
#include "transfer-interface.hpp"

#include <stdexcept>
#include <system_error>

#include "../bus-names.hpp"
#include "../status.hpp"
#include "bus-errors.hpp"

namespace msg_consumer::service::transfer {
namespace {

// The descriptor lives as long as the call.
int descriptor_of(sd_bus_message* call) {
  int descriptor = -1;
  const int result = sd_bus_message_read_basic(call, 'h', &descriptor);
  if (result < 0) {
    throw std::invalid_argument("the descriptor is missing");
  }
  return descriptor;
}

}  // namespace

void TransferInterface::run(std::unique_ptr<Transfer> transfer) {
  _running = std::move(transfer);
  _running->on_end([this] { _running.reset(); });
}

int TransferInterface::export_store(sd_bus_message* call, sd_bus_error* error) {
  if (is_busy()) {
    return sd_bus_error_set_const(error, ERROR_BUSY, "Another export or import is running.");
  }
  run(std::make_unique<ExportTransfer>(call, descriptor_of(call), sqlite3_db_filename(_store.database(), "main"),
                                       _files, _patience.with_reader));
  return 1;
}

int TransferInterface::import_store(sd_bus_message* call, sd_bus_error* error) {
  if (is_busy()) {
    return sd_bus_error_set_const(error, ERROR_BUSY, "Another export or import is running.");
  }
  run(std::make_unique<ImportTransfer>(call, descriptor_of(call), _store, _files, _announcer, _patience.with_writer));
  return 1;
}

template <auto method>
int TransferInterface::handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept {
  try {
    return (static_cast<TransferInterface*>(self)->*method)(call, error);
  } catch (const std::invalid_argument& problem) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, problem.what());
  } catch (...) {
    static_cast<void>(status_of_current_exception());
    return sd_bus_error_set_const(error, ERROR_FAILED, "It cannot be begun; the service's log says more.");
  }
}

const sd_bus_vtable TransferInterface::VTABLE[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("export_store", SD_BUS_ARGS("h", output), SD_BUS_RESULT("s", summary),
                            (handle<&TransferInterface::export_store>), SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("import_store", SD_BUS_ARGS("h", input), SD_BUS_RESULT("s", summary),
                            (handle<&TransferInterface::import_store>), SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

TransferInterface::TransferInterface(sd_bus* bus, StoreWriter& store, const ContentFiles& files, Announcer& announcer,
                                     Patience patience)
    : _bus(bus), _store(store), _files(files), _announcer(announcer), _patience(patience) {
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_add_object_vtable(_bus, &slot, OBJECT_PATH, TRANSFER_INTERFACE_NAME, VTABLE, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot offer export and import on the bus");
  }
  _slot.reset(slot);
}

}  // namespace msg_consumer::service::transfer
