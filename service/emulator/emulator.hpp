// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_EMULATOR_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_EMULATOR_HPP

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "arrivals.hpp"
#include "call-faults.hpp"
#include "emulated-network.hpp"
#include "emulated-phone.hpp"
#include "emulator-interface.hpp"
#include "faulty-announcer.hpp"
#include "server.hpp"
#include "step.hpp"
#include "store-lock.hpp"
#include "timers.hpp"

namespace msg_consumer::service::emulator {

/// The world outside the service, and what can go wrong in it. Performs steps.
class Emulator final : public Surroundings, private StepPerformer {
 public:
  /// The steps of `scenario` that wait for nothing are performed before the service starts; `name` is the file's.
  Emulator(std::string name, std::vector<Step> scenario);

  FarSide& far_side() override { return _network; }
  Phone& phone() override { return _phone; }
  CallGate* call_gate() override { return &_calls; }
  Announcer& announcer(Announcer& announcer, sd_event* loop, sd_bus* bus) override;
  void before_start(const Parts& parts) override;
  void after_end() noexcept override;

 private:
  struct Held {
    Step step;
    int answered = 0;  ///< how many calls of its method have been answered meanwhile
  };

  Json perform(const Step& step) override;
  Json state() override;
  void reset() override;

  Json perform_now(const Step& step);
  Json run(const Receive& receive, const Json& source);
  Json run(const Report& report, const Json& source);
  Json run(const NetworkMode& mode, const Json& source);
  Json run(const PhoneMode& mode, const Json& source);
  Json run(const NetworkStore& notification, const Json& source);
  Json run(const CallFault& fault, const Json& source);
  Json run(const SignalFault& fault, const Json& source);
  Json run(const Lock& lock, const Json& source);
  Json run(const DiskFull& disk, const Json& source);
  Json run(const Clear& clear, const Json& source);

  void watch_turns(sd_event* loop);
  void hold(const Step& step);
  void perform_held(const Step& step) noexcept;
  void on_answered(const std::string& method) noexcept;
  int existing_message(int id);
  Json device_requests();

  std::string _name;
  std::vector<Step> _scenario;
  std::optional<Parts> _parts;
  Timers _timers;
  FaultyAnnouncer _announcer;
  CallFaults _calls;
  EmulatedNetwork _network;
  EmulatedPhone _phone;
  StoreLock _lock;
  std::optional<Arrivals> _arrivals;
  std::list<Held> _held;
  std::optional<EmulatorInterface> _interface;
  Owned<sd_event_source, sd_event_source_disable_unref> _turns;
};

}  // namespace msg_consumer::service::emulator

#endif
