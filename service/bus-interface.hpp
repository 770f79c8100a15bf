// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_BUS_INTERFACE_HPP
#define MSG_CONSUMER_SERVICE_BUS_INTERFACE_HPP

#include <systemd/sd-bus.h>

#include <string_view>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

#include "announcer.hpp"
#include "call-gate.hpp"
#include "commands.hpp"

namespace msg_consumer::service {

/// The service's object on the bus: turns method calls into commands and their outcomes into replies.
///
/// A command's change is committed before the reply, and the reply goes out before the signal: both travel over one
/// connection, so that a caller knows its new message's id before it hears of it.
class BusInterface {
 public:
  /// Throws `std::system_error`. From then on calls are answered; the name is not requested here. `gate` may be null.
  BusInterface(sd_bus* bus, Commands& commands, Announcer& announcer, CallGate* gate = nullptr);

  /// The methods' names, in the order of the interface.
  static std::vector<std::string_view> methods();

 private:
  using Track = Owned<sd_bus_track, sd_bus_track_unref>;

  template <auto command>
  static int handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;

  template <typename Result, typename... Arguments>
  int answer(sd_bus_message* call, sd_bus_error* error, Result (Commands::*command)(Arguments...));

  static int on_viewer_left(sd_bus_track* track, void* self) noexcept;
  void watch_viewer(sd_bus_message* call) noexcept;

  static const sd_bus_vtable VTABLE[];

  Commands& _commands;
  Announcer& _announcer;
  CallGate* _gate;
  Owned<sd_bus_slot, sd_bus_slot_unref> _slot;
  /// Whoever has set the active thread: nobody looks at it any more once he has left the bus.
  Track _viewer;
};

}  // namespace msg_consumer::service

#endif
