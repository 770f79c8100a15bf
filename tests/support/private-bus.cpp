// SPDX-License-Identifier: Apache-2.0
#include "support/private-bus.hpp"

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace msg_consumer::test {

namespace {

// A session bus starts services itself, without the setuid helper and the fixed folders of a system bus.
std::string configuration(const std::string& address, const std::string& services, std::string_view policy) {
  return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" +
         address + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
         services + R"(</servicedir>
)" + std::string(policy) +
         R"(
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">134217728</limit>
  <limit name="max_replies_per_connection">50000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
</busconfig>
)";
}

constexpr std::string_view EVERYTHING = R"(<policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>)";

}  // namespace

PrivateBus::PrivateBus() : PrivateBus(EVERYTHING, {}) {}

PrivateBus::PrivateBus(std::string_view policy, const Process::Environment& environment)
    : _environment(environment),
      _address("unix:path=" + _folder.file("bus")),
      _system_bus("DBUS_SYSTEM_BUS_ADDRESS", _address),
      _session_bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + _folder.file("no-session-bus")) {
  std::filesystem::create_directory(_folder.path() / "services");
  write_file(_folder.path() / "bus.conf", configuration(_address, _folder.file("services"), policy));
  // The policy decides who may connect, not the folder.
  std::filesystem::permissions(_folder.path(), std::filesystem::perms(0755));
  start();
}

void PrivateBus::start() {
  // A killed daemon leaves its socket behind, and then refuses to listen there.
  std::filesystem::remove(_folder.path() / "bus");
  _daemon = std::make_unique<Process>(
      std::vector<std::string>{"dbus-daemon", "--nofork", "--nosyslog", "--nopidfile", "--print-address=1",
                               "--config-file=" + _folder.file("bus.conf")},
      _environment);
  const auto printed_or_ended = [this] {
    return _daemon->standard_output().find('\n') != std::string::npos || !_daemon->running();
  };
  if (!wait_until(printed_or_ended) || !_daemon->running()) {
    throw std::runtime_error("dbus-daemon does not start: " + _daemon->standard_error());
  }
}

void PrivateBus::stop() { end(SIGTERM); }

void PrivateBus::kill() { end(SIGKILL); }

void PrivateBus::pause() { _daemon->signal(SIGSTOP); }

void PrivateBus::resume() { _daemon->signal(SIGCONT); }

void PrivateBus::end(int signal) {
  _daemon->signal(signal);
  _daemon->signal(SIGCONT);  // a paused bus does not see the other signal
  _daemon->wait();
  _daemon.reset();
}

// The bus looks into its folder of services again when it is asked for one that it does not know.
void PrivateBus::add_activatable_service(std::string_view name, std::string_view exec) {
  std::string content("[D-BUS Service]\nName=");
  content.append(name).append("\nExec=").append(exec).append("\n");
  write_file(_folder.path() / "services" / (std::string(name) + ".service"), content);
}

}  // namespace msg_consumer::test
