// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_EMULATOR_INTERFACE_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_EMULATOR_INTERFACE_HPP

#include <systemd/sd-bus.h>

#include <msg-consumer-platform/releaser.hpp>

#include "step.hpp"

namespace msg_consumer::service::emulator {

inline constexpr const char* EMULATOR_INTERFACE_NAME = "com.velmora.message.consumer.emulator";

/// Does what is asked through the emulator's interface.
class StepPerformer {
 public:
  StepPerformer() = default;
  StepPerformer(const StepPerformer&) = delete;
  StepPerformer& operator=(const StepPerformer&) = delete;
  virtual ~StepPerformer() = default;

  /// Throws `InvalidStep`, or another exception where the service fails.
  virtual Json perform(const Step& step) = 0;
  virtual Json state() = 0;
  virtual void reset() = 0;
};

/// The emulator's own interface, on the service's object.
class EmulatorInterface {
 public:
  /// Throws `std::system_error`.
  EmulatorInterface(sd_bus* bus, StepPerformer& performer);

 private:
  template <auto method>
  static int handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept;

  int perform(sd_bus_message* call);
  int get_state(sd_bus_message* call);
  int reset(sd_bus_message* call);

  static const sd_bus_vtable VTABLE[];

  StepPerformer& _performer;
  Owned<sd_bus_slot, sd_bus_slot_unref> _slot;
};

}  // namespace msg_consumer::service::emulator

#endif
