// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_SERVER_HPP
#define MSG_CONSUMER_SERVICE_SERVER_HPP

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include "announcer.hpp"
#include "call-gate.hpp"
#include "clock.hpp"
#include "content-files.hpp"
#include "far-side.hpp"
#include "inbox.hpp"
#include "locations.hpp"
#include "network.hpp"
#include "phone.hpp"
#include "store-writer.hpp"

namespace msg_consumer::service {

/// The parts of a service that runs.
struct Parts {
  const Locations& places;
  sd_event* loop;
  sd_bus* bus;
  StoreWriter& store;
  ContentFiles& files;
  Inbox& inbox;
  Network& network;
  const Clock& clock;
  Announcer& announcer;
};

/// What a program puts around the service. This is what the service itself needs: nothing but a world that takes what
/// it is given.
class Surroundings {
 public:
  Surroundings() = default;
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;
  virtual ~Surroundings() = default;

  virtual FarSide& far_side() { return _far_side; }
  virtual Phone& phone() { return _phone; }
  /// May be null.
  virtual CallGate* call_gate() { return nullptr; }
  /// Through whom changes are announced: `announcer`, or somebody who passes on to it.
  virtual Announcer& announcer(Announcer& announcer, sd_event* /*loop*/, sd_bus* /*bus*/) { return announcer; }

  /// Everything stands, and nobody can call yet. What throws here keeps the service from starting.
  virtual void before_start(const Parts& /*parts*/) {}
  /// The loop has ended; the parts still stand.
  virtual void after_end() noexcept {}

 private:
  FarSide _far_side;
  Phone _phone;
};

/// Serves until a signal ends it, or the bus is gone. Returns the program's exit status; failures are logged.
int serve(Surroundings& surroundings) noexcept;

}  // namespace msg_consumer::service

#endif
