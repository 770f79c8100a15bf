// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CALL_GATE_HPP
#define MSG_CONSUMER_SERVICE_CALL_GATE_HPP

#include <systemd/sd-bus.h>

#include <functional>

namespace msg_consumer::service {

/// A method call that has reached the service.
struct Call {
  sd_bus_message* message;
  bool makes_message;  ///< its answer is a message id and a status, otherwise a status alone
  /// Runs the command and answers `call`, which is `message` or a reference to it that was kept. A failure is returned,
  /// or set in `error`, as the bus library's handlers do.
  std::function<int(sd_bus_message* call, sd_bus_error* error)> run;
};

/// Stands between the bus and the commands. A program that needs to see the calls brings one.
class CallGate {
 public:
  CallGate() = default;
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;
  virtual ~CallGate() = default;

  /// Answers the call or has it run: now, later or never. Returns what a handler of the bus library does.
  virtual int pass(const Call& call, sd_bus_error* error) = 0;
  /// The command has run, its change is committed, and nobody has been told yet.
  virtual void before_reply(sd_bus_message* call) noexcept = 0;
};

}  // namespace msg_consumer::service

#endif
