// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_FAILURE_HPP
#define MSG_CONSUMER_RUN_FAILURE_HPP

#include <cstdio>
#include <stdexcept>
#include <string>

namespace msg_consumer_run {

/// What this tool exits with. Every other status is the command's own.
enum ExitStatus : int {
  EXIT_OWN_FAILURE = 125,  ///< this tool failed: the command was not run, or not to its end
  EXIT_NOT_RUNNABLE = 126,
  EXIT_NOT_FOUND = 127,
  EXIT_SIGNAL_BASE = 128,  ///< and the number of the signal
};

/// This tool's own failure, in words for the user.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline void say(const std::string& text) {
  static_cast<void>(std::fprintf(stderr, "msg-consumer-run: %s\n", text.c_str()));
}

}  // namespace msg_consumer_run

#endif
