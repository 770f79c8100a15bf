// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct Program {
  const char* name;
  const char* path;
};

class Examples : public testing::TestWithParam<Program> {
 protected:
  Examples() { _bus.add_activatable_service("com.velmora.message.consumer", SERVICE_PATH); }

  // The service ends with its bus, and must not outlive its folder.
  ~Examples() override {
    _bus.stop();
    wait_until([this] {
      const std::string preferences = read_file(_folder.path() / "preferences.ini");
      return preferences.find("consumer_preference_int_consumer_status=1") == std::string::npos;
    });
  }

  static std::vector<std::string> command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), GetParam().path);
    return arguments;
  }

  TempDir _folder;
  EnvironmentVariable _database{"MSG_CONSUMER_DB", _folder.file("messages.db")};
  EnvironmentVariable _preferences{"MSG_CONSUMER_PREFERENCES", _folder.file("preferences.ini")};
  EnvironmentVariable _files{"MSG_CONSUMER_FILES", _folder.file("files")};
  // Asking for readiness while the service starts is no error worth showing.
  EnvironmentVariable _log_level{"MSG_CONSUMER_LOG_LEVEL", "7"};
  PrivateBus _bus;
};

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

MATCHER_P(IsEvent, name, "") {
  static const std::string prefix = "event ";
  return arg.starts_with(prefix) && nlohmann::json::parse(arg.substr(prefix.size())).at("event") == name;
}

TEST_P(Examples, SendListAndPrintTheEvents) {
  Process process(command({"+15550100", "On my way"}));
  EXPECT_EQ(process.wait(), 0) << process.standard_error();
  EXPECT_THAT(
      lines_of(process.standard_output()),
      ElementsAre("sent 1: On my way", IsEvent("added"), IsEvent("changed"), IsEvent("changed"), IsEvent("changed")));
  EXPECT_EQ(process.standard_error(), "");
}

TEST_P(Examples, EndAfterAsManyEventsAsAreAskedFor) {
  Process process(command({"+15550100", "On my way", "1"}));
  EXPECT_EQ(process.wait(), 0) << process.standard_error();
  EXPECT_THAT(lines_of(process.standard_output()), ElementsAre("sent 1: On my way", IsEvent("added")));
}

TEST_P(Examples, SayHowTheyAreUsed) {
  Process process(command({"+15550100"}));
  EXPECT_EQ(process.wait(), 1);
  EXPECT_EQ(process.standard_output(), "");
  EXPECT_THAT(process.standard_error(), HasSubstr("RECIPIENT TEXT [EVENTS]"));
}

TEST_P(Examples, FailWhenTheMessageIsRefused) {
  Process process(command({"( )", "On my way"}));
  EXPECT_EQ(process.wait(), 1);
  EXPECT_EQ(process.standard_output(), "");
  EXPECT_THAT(process.standard_error(), HasSubstr("failed with "));
}

INSTANTIATE_TEST_SUITE_P(Both, Examples, testing::Values(Program{"C", C_EXAMPLE}, Program{"Cpp", CPP_EXAMPLE}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
