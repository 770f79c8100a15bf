// SPDX-License-Identifier: Apache-2.0
#include "run/inherited-signals.hpp"

#include <algorithm>

namespace msg_consumer_run {

InheritedSignals::InheritedSignals() {
  sigprocmask(SIG_SETMASK, nullptr, &_mask);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction found {};
    if (sigaction(signal, nullptr, &found) == 0 && found.sa_handler == SIG_IGN) _ignored.push_back(signal);
  }
}

void InheritedSignals::restore() const {
  reset();
  for (const int signal : _ignored) static_cast<void>(std::signal(signal, SIG_IGN));
  sigprocmask(SIG_SETMASK, &_mask, nullptr);
}

void InheritedSignals::reset() {
  for (int signal = 1; signal < NSIG; ++signal) static_cast<void>(std::signal(signal, SIG_DFL));
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool InheritedSignals::is_ignored(int signal) const {
  return std::find(_ignored.begin(), _ignored.end(), signal) != _ignored.end();
}

}  // namespace msg_consumer_run
