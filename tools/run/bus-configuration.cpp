// SPDX-License-Identifier: Apache-2.0
#include "run/bus-configuration.hpp"

#include <gio/gio.h>

#include "msgctl/owned.hpp"

namespace msg_consumer_run {
namespace {

using Text = msgctl::Owned<char, g_free>;

std::string in_xml(const std::string& text) { return Text(g_markup_escape_text(text.c_str(), -1)).get(); }

}  // namespace

std::string bus_address(const std::string& socket) {
  return std::string("unix:path=") + Text(g_dbus_address_escape_value(socket.c_str())).get();
}

// Of the type "session", which starts services itself; the limits are those of an ordinary session bus, so that no
// test meets them.
std::string bus_configuration(const std::string& address, const std::string& services) {
  return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" +
         in_xml(address) + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
         in_xml(services) + R"(</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">134217728</limit>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_replies_per_connection">50000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
</busconfig>
)";
}

std::string activation_file(const std::string& program) {
  const Text quoted(g_shell_quote(program.c_str()));
  return std::string("[D-BUS Service]\nName=") + service_name + "\nExec=" + quoted.get() + "\n";
}

}  // namespace msg_consumer_run
