// SPDX-License-Identifier: Apache-2.0
#include "faulty-announcer.hpp"

#include <msg-consumer-platform/logging.hpp>

#include "bus-names.hpp"
#include "remaining.hpp"
#include "status.hpp"

namespace msg_consumer::service::emulator {

void FaultyAnnouncer::announce(const Announcement& announcement) noexcept try {
  if (_armed.empty()) {
    _announcer->announce(announcement);
    return;
  }
  const SignalFault fault = _armed.front().fault;
  if (use_up(_armed.front().left)) {
    _armed.pop_front();
  }
  spoil(fault, announcement);
} catch (...) {
  static_cast<void>(status_of_current_exception());
}

void FaultyAnnouncer::spoil(const SignalFault& fault, const Announcement& announcement) {
  switch (fault.how) {
    case SignalFault::How::DROP:
      break;
    case SignalFault::How::DOUBLE:
      _announcer->announce(announcement);
      _announcer->announce(announcement);
      break;
    case SignalFault::How::MALFORM:
      malform(fault.form, announcement.signal);
      break;
    case SignalFault::How::DELAY:
      _timers.after(fault.delay, [this, announcement] { _announcer->announce(announcement); });
      break;
  }
}

void FaultyAnnouncer::malform(SignalFault::Form form, const char* signal) {
  const auto emit = [&](const char* types, auto... values) {
    return sd_bus_emit_signal(_bus, OBJECT_PATH, INTERFACE_NAME, signal, types, values...);
  };
  int result = 0;
  switch (form) {
    case SignalFault::Form::NOT_JSON:
      result = emit("s", "this is {not JSON");
      break;
    case SignalFault::Form::WRONG_TYPE:
      result = emit("i", 1);
      break;
    case SignalFault::Form::EMPTY:
      result = emit("");
      break;
  }
  if (result < 0) {
    LOG_ERROR(HERE, "[ERROR] sd_bus_emit_signal() failed for signalName:(%s): (%d)", signal, result);
  }
}

Json FaultyAnnouncer::armed() const { return with_remaining(_armed); }

}  // namespace msg_consumer::service::emulator
