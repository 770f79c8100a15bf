// SPDX-License-Identifier: Apache-2.0
#include "support/private-bus.hpp"

#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace msg_consumer::test {

namespace {

// A session bus starts services itself, without the setuid helper and the fixed folders of a system bus.
std::string configuration(const std::string& address, const std::string& services) {
  return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" +
         address + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
         services + R"(</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">134217728</limit>
  <limit name="max_replies_per_connection">50000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
</busconfig>
)";
}

}  // namespace

PrivateBus::PrivateBus()
    : address_("unix:path=" + folder_.file("bus")),
      system_bus_("DBUS_SYSTEM_BUS_ADDRESS", address_),
      session_bus_("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder_.file("no-session-bus")) {
  std::filesystem::create_directory(folder_.path() / "services");
  write_file(folder_.path() / "bus.conf", configuration(address_, folder_.file("services")));
  start();
}

void PrivateBus::start() {
  // A killed daemon leaves its socket behind, and then refuses to listen there.
  std::filesystem::remove(folder_.path() / "bus");
  daemon_ = std::make_unique<Process>(std::vector<std::string>{"dbus-daemon", "--nofork", "--nosyslog", "--nopidfile",
                                                               "--print-address=1",
                                                               "--config-file=" + folder_.file("bus.conf")});
  const auto printed_or_ended = [this] {
    return daemon_->standard_output().find('\n') != std::string::npos || !daemon_->running();
  };
  if (!wait_until(printed_or_ended) || !daemon_->running()) {
    throw std::runtime_error("dbus-daemon does not start: " + daemon_->standard_error());
  }
}

void PrivateBus::stop() { end(SIGTERM); }

void PrivateBus::kill() { end(SIGKILL); }

void PrivateBus::pause() { daemon_->signal(SIGSTOP); }

void PrivateBus::resume() { daemon_->signal(SIGCONT); }

void PrivateBus::end(int signal) {
  daemon_->signal(signal);
  daemon_->signal(SIGCONT);  // a paused bus does not see the other signal
  daemon_->wait();
  daemon_.reset();
}

// The bus looks into its folder of services again when it is asked for one that it does not know.
void PrivateBus::add_activatable_service(std::string_view name, std::string_view exec) {
  std::string content("[D-BUS Service]\nName=");
  content.append(name).append("\nExec=").append(exec).append("\n");
  write_file(folder_.path() / "services" / (std::string(name) + ".service"), content);
}

}  // namespace msg_consumer::test
