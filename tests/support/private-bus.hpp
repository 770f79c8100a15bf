// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_PRIVATE_BUS_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_PRIVATE_BUS_HPP

#include <memory>
#include <string>
#include <string_view>

#include "support/environment.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {

/// A message bus of this process's own, which takes the system bus's place as long as it exists. The session bus is
/// out of reach meanwhile.
class PrivateBus {
 public:
  /// Starts a bus on which everybody may do everything.
  PrivateBus();

  /// Starts a bus that anybody reaches and that lets each user do what the elements `policy` say, with further
  /// variables in its own environment.
  PrivateBus(std::string_view policy, const Process::Environment& environment);

  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  PrivateBus(PrivateBus&&) = delete;
  PrivateBus& operator=(PrivateBus&&) = delete;
  ~PrivateBus() = default;

  /// Starts the bus again after stop() or kill(), at the same address.
  void start();

  /// Asks the bus to end, and waits until it has.
  void stop();

  /// Kills the bus, and waits until it is gone.
  void kill();

  /// Freezes the bus: it takes connections and bytes, and answers nothing.
  void pause();
  void resume();

  [[nodiscard]] const std::string& address() const { return _address; }
  [[nodiscard]] bool running() { return _daemon && _daemon->running(); }

  /// Makes `name` a service that the bus starts on demand with the command line `exec` (an absolute path first).
  void add_activatable_service(std::string_view name, std::string_view exec);

 private:
  void end(int signal);

  TempDir _folder;
  Process::Environment _environment;
  std::string _address;
  EnvironmentVariable _system_bus;
  EnvironmentVariable _session_bus;
  std::unique_ptr<Process> _daemon;
};

}  // namespace msg_consumer::test

#endif
