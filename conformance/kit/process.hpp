// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_PROCESS_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_PROCESS_HPP

#include <chrono>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace msg_consumer::conformance {

using Environment = std::map<std::string, std::string>;

struct Command {
  std::vector<std::string> arguments;  ///< the program's path first
  Environment environment;             ///< set besides this process's own
  std::filesystem::path folder;        ///< where the program runs, and its output is kept
  std::chrono::milliseconds time_limit;
};

struct Ended {
  enum class How { Exited, Killed, TimedOut };

  How how;
  int number;  ///< exit status or signal
  std::string output;
  std::string errors;

  [[nodiscard]] bool well() const { return how == How::Exited && number == 0; }
  /// How it ended, in words.
  [[nodiscard]] std::string description() const;
};

/// Runs a program to its end. Whatever it has started is ended too.
Ended run(const Command& command);

}  // namespace msg_consumer::conformance

#endif
