// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_FAULTY_ANNOUNCER_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_FAULTY_ANNOUNCER_HPP

#include <systemd/sd-bus.h>

#include <list>

#include "announcer.hpp"
#include "step.hpp"
#include "timers.hpp"

namespace msg_consumer::service::emulator {

/// Passes announcements on, but spoils those for which a fault is armed.
class FaultyAnnouncer final : public Announcer {
 public:
  explicit FaultyAnnouncer(Timers& timers) : _timers(timers) {}

  void use(Announcer& announcer, sd_bus* bus) {
    _announcer = &announcer;
    _bus = bus;
  }

  void announce(const Announcement& announcement) noexcept override;

  void arm(const SignalFault& fault, const Json& source) { _armed.push_back({fault, fault.times, source}); }
  void clear() { _armed.clear(); }
  Json armed() const;

 private:
  struct Armed {
    SignalFault fault;
    int left;
    Json source;
  };

  void spoil(const SignalFault& fault, const Announcement& announcement);
  void malform(SignalFault::Form form, const char* signal);

  Timers& _timers;
  Announcer* _announcer = nullptr;
  sd_bus* _bus = nullptr;
  std::list<Armed> _armed;
};

}  // namespace msg_consumer::service::emulator

#endif
