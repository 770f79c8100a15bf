// SPDX-License-Identifier: Apache-2.0
#ifndef RUN_TEST_HPP
#define RUN_TEST_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/environment.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {

using Arguments = std::vector<std::string>;

/// How a run ended, and what it wrote.
struct Outcome {
  ExitStatus status = 0;
  std::string out;
  std::string err;
};

/// msg-consumer-run with a folder for temporary files of its own. Whatever it starts can be told by a variable in its
/// environment, however far it strays.
class Run : public testing::Test {
 protected:
  /// Starts msg-consumer-run with these arguments.
  static std::unique_ptr<Process> start(Arguments arguments, const Process::Environment& environment = {});

  /// Starts a shell's command line in a test bed.
  static std::unique_ptr<Process> start_shell(const std::string& command_line) {
    return start({"--", "sh", "-c", command_line});
  }

  static Outcome outcome_of(Process& process);
  static Outcome run(const Arguments& arguments, const Process::Environment& environment = {}) {
    return outcome_of(*start(arguments, environment));
  }
  static Outcome shell(const std::string& command_line) { return run({"--", "sh", "-c", command_line}); }

  /// The processes that were started here and are alive.
  [[nodiscard]] std::vector<pid_t> alive() const;
  /// Waits for the one process whose name begins so.
  [[nodiscard]] pid_t find(std::string_view name) const;
  /// Waits until no process is left, and no file in the folder for temporary files.
  testing::AssertionResult nothing_is_left() const;
  [[nodiscard]] std::vector<std::string> temporary_files() const;

  /// Waits until the process has written a text to its standard output.
  static bool has_said(Process& process, std::string_view text);

  TempDir _folder;
  TempDir _temporary;
  EnvironmentVariable _temporary_variable{"TMPDIR", _temporary.path()};
  EnvironmentVariable _mark{"RUN_TEST_MARK", _temporary.path()};
  EnvironmentVariable _emulator{"MSG_CONSUMER_EMULATOR", EMULATOR_PATH};
  EnvironmentVariable _msgctl{"MSGCTL", MSGCTL_PATH};
  EnvironmentVariable _run{"RUN", RUN_PATH};
  EnvironmentVariable _system_bus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + _folder.file("no-system-bus")};
  EnvironmentVariable _session_bus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + _folder.file("no-session-bus")};
};

}  // namespace msg_consumer::test

#endif
