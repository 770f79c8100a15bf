// SPDX-License-Identifier: Apache-2.0
#include "run/runner.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <set>
#include <string>

#include "run/bed.hpp"
#include "run/descriptor.hpp"
#include "run/emulator-path.hpp"
#include "run/failure.hpp"
#include "run/inherited-signals.hpp"
#include "run/keeper.hpp"
#include "run/link.hpp"
#include "run/process-tree.hpp"
#include "run/spawn.hpp"
#include "run/title.hpp"

namespace msg_consumer_run {
namespace {

constexpr std::chrono::seconds leftover_patience(1);

// Those that the command hears of, unless this tool was started not to hear them.
sigset_t signals_to_watch(const InheritedSignals& inherited) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2}) {
    if (!inherited.is_ignored(signal)) sigaddset(&signals, signal);
  }
  return signals;
}

Descriptor watch(const sigset_t& signals) {
  Descriptor descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!descriptor) throw Failure(std::string("cannot watch for signals: ") + std::strerror(errno));
  return descriptor;
}

// The terminal that this process is controlled by, if there is one.
class Terminal {
 public:
  Terminal()
      : _terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)),
        _was_in_front(_terminal && tcgetpgrp(_terminal.get()) == getpgrp()) {}

  /// An interactive shell that was killed leaves the terminal to a process group that is no more.
  void take_back() const {
    if (!_was_in_front) return;
    const pid_t in_front = tcgetpgrp(_terminal.get());
    if (in_front <= 0 || kill(-in_front, 0) == 0 || errno != ESRCH) return;
    static_cast<void>(std::signal(SIGTTOU, SIG_IGN));
    static_cast<void>(tcsetpgrp(_terminal.get(), getpgrp()));
  }

 private:
  Descriptor _terminal;
  bool _was_in_front;
};

// In the keeper.
void keep(const Options& options, const Bed& bed, const InheritedSignals& inherited, const sigset_t& signals,
          Link runner) {
  // Out of the reach of the terminal, and of a kill of the whole group.
  static_cast<void>(setpgid(0, 0));
  static_cast<void>(prctl(PR_SET_CHILD_SUBREAPER, 1));
  for (const int signal : {SIGTTOU, SIGTTIN, SIGTSTP, SIGPIPE}) static_cast<void>(std::signal(signal, SIG_IGN));
  Keeper(options, bed, inherited, watch(signals), std::move(runner)).keep();
}

void pass_on_signal(const Descriptor& signals, const Link& keeper) {
  signalfd_siginfo info{};
  if (read(signals.get(), &info, sizeof info) != sizeof info || info.ssi_signo == SIGCHLD) return;
  keeper.send({Note::Kind::Signal, static_cast<int>(info.ssi_signo), info.ssi_code == SI_KERNEL});
}

// What the keeper says to exit with; nothing when it was killed.
std::optional<int> wait_for(const Link& keeper, const Descriptor& signals) {
  for (;;) {
    std::array<pollfd, 2> sources{{{.fd = signals.get(), .events = POLLIN, .revents = 0},
                                   {.fd = keeper.descriptor(), .events = POLLIN, .revents = 0}}};
    if (poll(sources.data(), sources.size(), -1) < 0) continue;
    if (sources[0].revents != 0) pass_on_signal(signals, keeper);
    if (sources[1].revents == 0) continue;
    const std::optional<Note> note = keeper.receive();
    return note ? std::optional(note->value) : std::nullopt;
  }
}

}  // namespace

int run(const Options& options, int argc, char** argv) {
  const InheritedSignals inherited;
  const sigset_t signals = signals_to_watch(inherited);
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  static_cast<void>(sigprocmask(SIG_BLOCK, &signals, nullptr));
  const Terminal terminal;
  const Bed bed;
  // Said before anything starts.
  static_cast<void>(emulator_path());

  // A shell that became this process may have children of its own.
  const std::set<pid_t> foreign = descendants();
  static_cast<void>(prctl(PR_SET_CHILD_SUBREAPER, 1));
  auto [own_link, keeper_link] = make_link();
  const pid_t keeper = spawn([&, &own = own_link, &other = keeper_link] {
    own.close();
    set_title(argc, argv, "test-bed-keeper");
    keep(options, bed, inherited, signals, std::move(other));
    return EXIT_SUCCESS;
  });
  keeper_link.close();
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));

  const std::optional<int> status = wait_for(own_link, watch(signals));
  // Its last steps are few.
  int keeper_end = 0;
  static_cast<void>(waitpid(keeper, &keeper_end, 0));
  if (!status) {
    end_descendants(foreign, leftover_patience);
    bed.remove(options.keep);
    say("the process that keeps the test bed ended early (" + words_of_end(keeper_end) + "), and so must the command");
  }
  terminal.take_back();
  return status.value_or(EXIT_OWN_FAILURE);
}

}  // namespace msg_consumer_run
