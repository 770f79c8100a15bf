// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_PROCESS_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_PROCESS_HPP

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {

/// How a process ended: the exit status, or minus the signal that killed it.
using ExitStatus = int;

/// A child process: a program, or a function run in a fork. It never outlives the thread that started it, nor this
/// object, and its output goes to files.
class Process {
 public:
  /// Variables to set in the child's environment; those without a value are unset.
  using Environment = std::map<std::string, std::optional<std::string>>;

  /// Starts `arguments[0]`, looked up in PATH; a program that cannot be started exits with 127.
  explicit Process(const std::vector<std::string>& arguments, const Environment& environment = {});

  /// Runs `body` in a fork; its result becomes the exit status. Start no threads before.
  explicit Process(const std::function<int()>& body);

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  Process(Process&&) = delete;
  Process& operator=(Process&&) = delete;

  /// Kills the child if it still runs.
  ~Process();

  [[nodiscard]] pid_t pid() const { return _pid; }
  [[nodiscard]] bool running();

  /// Sends a signal, unless the child has ended.
  void signal(int number);

  /// Waits for the child's end; none when it still runs after `timeout`.
  std::optional<ExitStatus> wait(std::chrono::milliseconds timeout = patience);

  /// What the child has written so far.
  [[nodiscard]] std::string standard_output() const;
  [[nodiscard]] std::string standard_error() const;

 private:
  void start(const std::function<int()>& body);

  TempDir _folder;
  pid_t _pid = -1;
  std::optional<ExitStatus> _status;
};

}  // namespace msg_consumer::test

#endif
