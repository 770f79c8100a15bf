// SPDX-License-Identifier: Apache-2.0
#include "emulator-on-bus.hpp"

#include <csignal>

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

class EmulatorProgram : public EmulatorOnBus {
 protected:
  /// Runs the program until it ends by itself.
  static std::string complaint_of(const std::vector<std::string>& arguments, int status) {
    std::vector<std::string> command = {EMULATOR_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Process program(command);
    EXPECT_EQ(program.wait(), status);
    return program.standard_error() + program.standard_output();
  }
};

TEST_F(EmulatorProgram, EndsCleanlyWhenItIsTold) {
  start({{{"do", "receive"}, {"type", "sms"}, {"from", "+1"}, {"after_ms", 80'000'000}},
         {{"do", "fault"}, {"method", "*"}, {"never", true}},
         {{"do", "lock"}, {"ms", 80'000'000}}});
  process->signal(SIGTERM);
  EXPECT_EQ(process->wait(), 0);
  EXPECT_EQ(readiness(), 0);
}

TEST_F(EmulatorProgram, ExplainsItself) {
  EXPECT_THAT(complaint_of({"--help"}, 0), HasSubstr("Usage: msg-consumer-emulator [--scenario FILE]"));
  EXPECT_THAT(complaint_of({"--what"}, 2), HasSubstr("Usage:"));
  EXPECT_THAT(complaint_of({"what"}, 2), HasSubstr("Usage:"));
  EXPECT_THAT(complaint_of({"--scenario"}, 2), HasSubstr("Usage:"));
}

TEST_F(EmulatorProgram, DoesNotStartWithABrokenScenario) {
  write_file(scenario, R"({"version":1,"steps":[{"do":"clear"},{"do":"lock","ms":"long"}]})");
  EXPECT_THAT(complaint_of({"--scenario", scenario}, 1), HasSubstr(scenario + ": step 2.ms: must be an integer"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("messages.db"))) << "nothing was touched";
  EXPECT_THAT(complaint_of({"--scenario", folder.file("missing.json")}, 1),
              HasSubstr("missing.json: there is no such file"));
}

TEST_F(EmulatorProgram, DoesNotStartWhenAStepOfTheStartFails) {
  write_file(scenario, R"({"version":1,"steps":[{"do":"clear"},{"do":"report","message":7,"result":"failed"}]})");
  EXPECT_THAT(complaint_of({"--scenario", scenario}, 1),
              HasSubstr(scenario + ": step 2: message: there is no such message"));
  EXPECT_NE(readiness(), 1);
}

using Node = Owned<GDBusNodeInfo, g_dbus_node_info_unref>;

TEST_F(EmulatorProgram, OffersWhatItsDescriptionSays) {
  start();
  const Answer answer = emulator->call("Introspect", nullptr, "org.freedesktop.DBus.Introspectable");
  const auto members = [](const std::string& xml) {
    const Node node(g_dbus_node_info_new_for_xml(xml.c_str(), nullptr));
    GDBusInterfaceInfo* interface = g_dbus_node_info_lookup_interface(node.get(), EMULATOR_INTERFACE);
    std::string text;
    for (GDBusMethodInfo** method = interface->methods; *method != nullptr; ++method) {
      text += std::string((*method)->name) + "(";
      for (GDBusArgInfo** argument = (*method)->in_args; argument != nullptr && *argument != nullptr; ++argument) {
        text += std::string((*argument)->signature) + " " + (*argument)->name;
      }
      text += ")->";
      for (GDBusArgInfo** argument = (*method)->out_args; argument != nullptr && *argument != nullptr; ++argument) {
        text += std::string((*argument)->signature) + " " + (*argument)->name;
      }
      text += "\n";
    }
    return text;
  };
  EXPECT_EQ(members(answer.text), members(read_file(EMULATOR_XML)));
  EXPECT_EQ(members(answer.text), "perform(s step)->s result\nget_state()->s state\nreset()->\n");
}

}  // namespace
}  // namespace msg_consumer::test
