// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_CALL_FAULTS_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_CALL_FAULTS_HPP

#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include <msg-consumer-platform/releaser.hpp>

#include "call-gate.hpp"
#include "step.hpp"
#include "timers.hpp"

namespace msg_consumer::service::emulator {

/// Sees every call, and spoils those for which a fault is armed. Of several that match, the oldest is used.
class CallFaults final : public CallGate {
 public:
  /// Told of the method of each call once it was answered.
  using Answered = std::function<void(const std::string& method)>;

  CallFaults(Timers& timers, Answered answered) : _timers(timers), _answered(std::move(answered)) {}

  /// Looks at messages before the service's object does, which lets no answer of another type out. Null: no more.
  void watch(sd_bus* bus);

  int pass(const Call& call, sd_bus_error* error) override;
  void before_reply(sd_bus_message* call) noexcept override;
  /// The service's transaction is about to be committed.
  void before_commit() noexcept;

  void arm(const CallFault& fault, const Json& source) { _armed.push_back({fault, fault.times, source}); }
  void clear() { _armed.clear(); }
  void forget_calls() { _seen.clear(); }

  /// The armed faults as they were written, with how often they are still to happen.
  Json armed() const;
  /// How many calls of each method there have been.
  const std::map<std::string, int>& seen() const { return _seen; }

 private:
  struct Armed {
    CallFault fault;
    int left;
    Json source;
  };

  using Faults = std::list<Armed>;

  static int on_message(sd_bus_message* message, void* self, sd_bus_error* error) noexcept;
  bool answer_with_nonsense(sd_bus_message* message);
  Faults::iterator find(const std::string& method);
  std::optional<CallFault> take(const std::string& method);
  void spoil(const CallFault& fault, const Call& call);
  void run(const Call& call);

  Timers& _timers;
  Answered _answered;
  Faults _armed;
  std::map<std::string, int> _seen;
  std::optional<CallFault::Death> _death;
  Owned<sd_bus_slot, sd_bus_slot_unref> _filter;
};

}  // namespace msg_consumer::service::emulator

#endif
