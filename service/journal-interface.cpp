// SPDX-License-Identifier: Apache-2.0
#include "journal-interface.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "bus-names.hpp"
#include "schema/text.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

// A reply must neither fill the bus nor keep the service long: whoever wants more asks again.
constexpr std::size_t MAX_ROWS = 1000;
constexpr std::size_t MAX_BYTES = std::size_t{1} * 1024 * 1024;

using Message = Owned<sd_bus_message, sd_bus_message_unref>;

void check(int result) {
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot answer a call");
  }
}

Message reply_to(sd_bus_message* call) {
  sd_bus_message* reply = nullptr;
  check(sd_bus_message_new_method_return(call, &reply));
  return Message(reply);
}

std::size_t rows(std::uint32_t limit) { return std::min<std::size_t>(limit, MAX_ROWS); }

// The bus closes the connection of whoever sends other text: a damaged row must not end the service.
const char* sendable(const std::string& text) { return schema::is_utf8(text) ? text.c_str() : ""; }

}  // namespace

int JournalInterface::get_changes(sd_bus_message* call) {
  std::uint64_t since = 0;
  std::uint32_t limit = 0;
  check(sd_bus_message_read(call, "tu", &since, &limit));
  const ChangeLog::Bounds bounds = _store.change_log().bounds();
  const Message reply = reply_to(call);
  check(sd_bus_message_open_container(reply.get(), 'a', "(tss)"));
  for (const ChangeLog::Entry& entry : _store.change_log().since(since, rows(limit), MAX_BYTES)) {
    check(sd_bus_message_append(reply.get(), "(tss)", static_cast<std::uint64_t>(entry.revision),
                                sendable(entry.signal), sendable(entry.body)));
  }
  check(sd_bus_message_close_container(reply.get()));
  check(sd_bus_message_append(reply.get(), "tt", static_cast<std::uint64_t>(bounds.oldest),
                              static_cast<std::uint64_t>(bounds.newest)));
  return sd_bus_send(nullptr, reply.get(), nullptr);
}

int JournalInterface::get_device_requests(sd_bus_message* call) {
  std::int64_t after = 0;
  std::uint32_t limit = 0;
  check(sd_bus_message_read(call, "xu", &after, &limit));
  const Message reply = reply_to(call);
  check(sd_bus_message_open_container(reply.get(), 'a', "(xsix)"));
  for (const DeviceRequest& request : _store.device_requests().after(after, rows(limit))) {
    check(sd_bus_message_append(reply.get(), "(xsix)", request.id, sendable(request.request), request.argument,
                                request.time_ms));
  }
  check(sd_bus_message_close_container(reply.get()));
  return sd_bus_send(nullptr, reply.get(), nullptr);
}

template <auto method>
int JournalInterface::handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept {
  try {
    return (static_cast<JournalInterface*>(self)->*method)(call);
  } catch (...) {
    static_cast<void>(status_of_current_exception());
    return sd_bus_error_set_const(error, SD_BUS_ERROR_FAILED, "The journal cannot be read.");
  }
}

const sd_bus_vtable JournalInterface::VTABLE[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("get_changes", SD_BUS_ARGS("t", since, "u", limit),
                            SD_BUS_RESULT("a(tss)", changes, "t", oldest, "t", newest),
                            (handle<&JournalInterface::get_changes>), SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("get_device_requests", SD_BUS_ARGS("x", after, "u", limit),
                            SD_BUS_RESULT("a(xsix)", requests), (handle<&JournalInterface::get_device_requests>),
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

JournalInterface::JournalInterface(sd_bus* bus, StoreWriter& store) : _store(store) {
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_add_object_vtable(bus, &slot, OBJECT_PATH, JOURNAL_INTERFACE_NAME, VTABLE, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot offer the journal on the bus");
  }
  _slot.reset(slot);
}

}  // namespace msg_consumer::service
