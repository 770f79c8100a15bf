// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_KEEPER_HPP
#define MSG_CONSUMER_RUN_KEEPER_HPP

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <ios>
#include <map>
#include <optional>
#include <string>

#include "run/bed.hpp"
#include "run/descriptor.hpp"
#include "run/inherited-signals.hpp"
#include "run/link.hpp"
#include "run/options.hpp"

namespace msg_consumer_run {

/// Starts bus, emulator and command, waits for the command's end or the runner's, and leaves nothing behind. It is a
/// process of its own, the runner's child and everybody else's ancestor, so that there is one to clean up whoever is
/// killed; were it itself, the runner would clean up.
class Keeper {
 public:
  Keeper(const Options& options, const Bed& bed, const InheritedSignals& inherited, Descriptor signals, Link runner);

  /// Does it all, and tells the runner what to exit with.
  void keep();

 private:
  using Clock = std::chrono::steady_clock;

  int run();
  void start_bus();
  void start_emulator();
  void wait_for_emulator();
  int run_command();
  void end();

  pid_t start_helper(int standard_output, const std::function<int()>& body);
  [[nodiscard]] Descriptor open_log() const;

  /// Deals with what happens until `done` holds; false when the deadline comes first.
  bool serve_until(const std::function<bool()>& done);
  void wait_for_something();
  void hear_signal();
  void hear_runner();
  void pass_on(int signal, bool from_terminal);
  void reap();
  [[nodiscard]] bool has_ended(pid_t process) const { return _ended.contains(process); }

  const Options& _options;
  const Bed& _bed;
  const InheritedSignals& _inherited;
  std::string _emulator_program;
  Descriptor _signals;
  Link _runner;
  Descriptor _bus_output;
  pid_t _bus = 0;
  pid_t _emulator = 0;
  pid_t _command = 0;
  std::streamoff _emulator_log_begin = 0;
  std::map<pid_t, int> _ended;  ///< children that have ended, and how
  std::optional<Clock::time_point> _deadline;
  int _asked_to_end = 0;  ///< the signal that did
};

}  // namespace msg_consumer_run

#endif
