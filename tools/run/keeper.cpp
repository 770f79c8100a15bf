// SPDX-License-Identifier: Apache-2.0
#include "run/keeper.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "run/bus-configuration.hpp"
#include "run/emulator-path.hpp"
#include "run/failure.hpp"
#include "run/process-tree.hpp"
#include "run/readiness.hpp"
#include "run/spawn.hpp"

namespace msg_consumer_run {
namespace {

// The slowest machine under a sanitizer needs a fraction of it.
constexpr std::chrono::seconds start_patience(30);
constexpr std::chrono::seconds command_patience(5);
constexpr std::chrono::seconds leftover_patience(1);
constexpr std::chrono::seconds helper_patience(2);

// Ends everything with this status.
struct Ended {
  int status;
};

std::string content_of(const std::string& path, std::streamoff begin) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(begin);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

Keeper::Keeper(const Options& options, const Bed& bed, const InheritedSignals& inherited, Descriptor signals,
               Link runner)
    : _options(options),
      _bed(bed),
      _inherited(inherited),
      _emulator_program(emulator_path()),
      _signals(std::move(signals)),
      _runner(std::move(runner)) {}

void Keeper::keep() {
  int status = EXIT_OWN_FAILURE;
  try {
    status = run();
  } catch (const Ended& end) {
    status = end.status;
  } catch (const std::exception& error) {
    say(error.what());
  }
  end();
  _runner.send({Note::Kind::Finished, status, false});
}

int Keeper::run() {
  _bed.make(_options, _emulator_program);
  _bed.enter(_options);
  _deadline = Clock::now() + start_patience;
  start_bus();
  start_emulator();
  wait_for_emulator();
  _deadline.reset();
  return run_command();
}

Descriptor Keeper::open_log() const {
  return Descriptor(open(_bed.log().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
}

pid_t Keeper::start_helper(int standard_output, const std::function<int()>& body) {
  const Descriptor log = open_log();
  const pid_t keeper = getpid();
  return spawn([&] {
    die_with(keeper);
    InheritedSignals::reset();
    detach(standard_output >= 0 ? standard_output : log.get(), log.get());
    return body();
  });
}

void Keeper::start_bus() {
  std::array<int, 2> pipe_ends{};
  if (pipe2(pipe_ends.data(), O_CLOEXEC) != 0) throw Failure("cannot make a pipe");
  _bus_output = Descriptor(pipe_ends[0]);
  const Descriptor input(pipe_ends[1]);
  _bus = start_helper(input.get(), [this] {
    return become({"dbus-daemon", "--nofork", "--nosyslog", "--nopidfile", "--print-address=1",
                   "--config-file=" + _bed.bus_configuration()});
  });
  // It prints its address when it listens.
  const auto listens = [this] {
    pollfd output{.fd = _bus_output.get(), .events = POLLIN, .revents = 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLIN) != 0;
  };
  const bool in_time = serve_until([&] { return listens() || has_ended(_bus); });
  if (!in_time || has_ended(_bus)) {
    throw Failure("the private message bus does not start:\n" + content_of(_bed.log(), 0));
  }
}

void Keeper::start_emulator() {
  // The bus has remarks of its own, which would only hide the cause.
  _emulator_log_begin = static_cast<std::streamoff>(std::filesystem::file_size(_bed.log()));
  std::vector<std::string> command{_emulator_program};
  if (!_options.scenario.empty()) command.insert(command.end(), {"--scenario", _options.scenario});
  _emulator = start_helper(-1, [&command] { return become(command); });
}

void Keeper::wait_for_emulator() {
  const pid_t waiter = start_helper(-1, [this] { return wait_for_service(bus_address(_bed.socket())); });
  const bool in_time = serve_until([&] { return has_ended(waiter) || has_ended(_emulator) || has_ended(_bus); });
  if (!in_time) throw Failure("the emulator does not become ready:\n" + content_of(_bed.log(), _emulator_log_begin));
  if (has_ended(_bus)) throw Failure("the message bus ended while the emulator started");
  // One that is there may have been killed since, by its scenario.
  const bool was_there = has_ended(waiter) && _ended.at(waiter) == 0;
  if (was_there) return;
  const std::string how = has_ended(_emulator) ? " (" + words_of_end(_ended.at(_emulator)) + ")" : "";
  throw Failure("the emulator does not start" + how + ":\n" + content_of(_bed.log(), _emulator_log_begin));
}

int Keeper::run_command() {
  const pid_t keeper = getpid();
  const pid_t group = getpgid(getppid());
  _command = spawn([&] {
    die_with(keeper);
    // With the runner, so that the terminal's signals and the shell's job control take both as one.
    static_cast<void>(setpgid(0, group));
    _inherited.restore();
    return become(_options.command);
  });
  const bool in_time = serve_until([this] { return has_ended(_command) || has_ended(_bus); });
  if (has_ended(_command)) return exit_status_of(_ended.at(_command));
  if (!in_time) return EXIT_SIGNAL_BASE + _asked_to_end;
  throw Failure("the private message bus ended (" + words_of_end(_ended.at(_bus)) + "), and so must the command");
}

// What the command left goes first, while it still has a bus and a service.
void Keeper::end() {
  end_descendants({_bus, _emulator}, leftover_patience);
  end_descendants({}, helper_patience);
  _bed.remove(_options.keep);
}

bool Keeper::serve_until(const std::function<bool()>& done) {
  while (!done()) {
    if (_deadline && Clock::now() >= *_deadline) return false;
    wait_for_something();
  }
  return true;
}

void Keeper::wait_for_something() {
  int timeout = -1;
  if (_deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*_deadline - Clock::now());
    timeout = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
  }
  // Once the bus has said where it listens, it says no more: nobody is woken by that over and over.
  const bool awaits_bus = _emulator == 0;
  std::array<pollfd, 3> sources{{{.fd = _signals.get(), .events = POLLIN, .revents = 0},
                                 {.fd = _runner.descriptor(), .events = POLLIN, .revents = 0},
                                 {.fd = awaits_bus ? _bus_output.get() : -1, .events = POLLIN, .revents = 0}}};
  if (poll(sources.data(), sources.size(), timeout) <= 0) return;
  if (sources[0].revents != 0) hear_signal();
  if (sources[1].revents != 0) hear_runner();
}

void Keeper::hear_signal() {
  signalfd_siginfo info{};
  if (read(_signals.get(), &info, sizeof info) != sizeof info) return;
  const int signal = static_cast<int>(info.ssi_signo);
  if (signal == SIGCHLD) {
    reap();
  } else {
    pass_on(signal, false);
  }
}

void Keeper::hear_runner() {
  const std::optional<Note> note = _runner.receive();
  if (!note) throw Ended{EXIT_OWN_FAILURE};
  pass_on(note->value, note->from_terminal);
}

void Keeper::pass_on(int signal, bool from_terminal) {
  if (_command == 0) throw Ended{EXIT_SIGNAL_BASE + signal};
  // A child that was not waited for keeps its number.
  if (!from_terminal && !has_ended(_command)) static_cast<void>(kill(_command, signal));
  if ((signal == SIGTERM || signal == SIGHUP) && !_deadline) {
    _asked_to_end = signal;
    _deadline = Clock::now() + command_patience;
  }
}

void Keeper::reap() {
  int status = 0;
  for (pid_t child = 0; (child = waitpid(-1, &status, WNOHANG)) > 0;) _ended[child] = status;
}

}  // namespace msg_consumer_run
