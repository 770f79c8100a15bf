// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_TEST_HPP
#define MSGCTL_TEST_HPP

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

/// How a run of msgctl ended, and what it wrote.
struct Outcome {
  ExitStatus status = 0;
  std::string out;
  std::string err;

  [[nodiscard]] Json json() const { return Json::parse(out); }
  [[nodiscard]] Json json_error() const { return Json::parse(err).at("error"); }
};

/// Signals a process that is not this one's child, and waits for its end.
void end_process(int process, int signal);

/// A private bus with an empty store, and msgctl. The bus knows no service yet.
class MsgctlWithoutService : public testing::Test {
 protected:
  Outcome msgctl(const Arguments& arguments, const Process::Environment& environment = {});

  /// Runs a command line of the shell in which "$MSGCTL" is msgctl.
  Outcome shell(const std::string& command_line);

  void install_service(const std::string& command_line);

  TempDir _folder;
  EnvironmentVariable _database{"MSG_CONSUMER_DB", _folder.file("messages.db")};
  EnvironmentVariable _preferences{"MSG_CONSUMER_PREFERENCES", _folder.file("preferences.ini")};
  EnvironmentVariable _files{"MSG_CONSUMER_FILES", _folder.file("files")};
  EnvironmentVariable _time_zone{"TZ", "UTC"};
  EnvironmentVariable _columns{"COLUMNS", std::nullopt};
  EnvironmentVariable _log_level{"MSG_CONSUMER_LOG_LEVEL", std::nullopt};
  PrivateBus _bus;
};

/// The same with the service, which the bus starts on demand.
class Msgctl : public MsgctlWithoutService {
 protected:
  Msgctl() { install_service(SERVICE_PATH); }

  /// Ends the service, which must not outlive its folder.
  void TearDown() override;

  /// Sends a message and returns its id; fails the test when that does not work.
  int send(const std::string& recipient, const std::string& text);

  /// The process id of the running service, none when it does not run.
  std::optional<int> service_process();

  Json message(int id) { return msgctl({"show", std::to_string(id), "--json"}).json().at("item"); }
};

}  // namespace msg_consumer::test

#endif
