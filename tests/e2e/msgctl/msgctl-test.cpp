// SPDX-License-Identifier: Apache-2.0
#include "msgctl-test.hpp"

#include <gio/gio.h>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

constexpr const char* service_name = "com.velmora.message.consumer";

Outcome outcome_of(Process& process) {
  const auto status = process.wait();
  if (!status) ADD_FAILURE() << "msgctl does not end";
  return {status.value_or(-1), process.standard_output(), process.standard_error()};
}

}  // namespace

void end_process(int process, int signal) {
  // Others' children may stay zombies for long, which a descriptor sees through.
  pollfd end = {.fd = static_cast<int>(syscall(SYS_pidfd_open, process, 0)), .events = POLLIN, .revents = 0};
  kill(process, signal);
  EXPECT_EQ(poll(&end, 1, static_cast<int>(patience.count())), 1) << "the process does not end";
  close(end.fd);
}

Outcome MsgctlWithoutService::msgctl(const Arguments& arguments, const Process::Environment& environment) {
  Arguments command = {MSGCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  Process process(command, environment);
  return outcome_of(process);
}

Outcome MsgctlWithoutService::shell(const std::string& command_line) {
  Process process({"sh", "-c", command_line}, {{"MSGCTL", MSGCTL_PATH}});
  return outcome_of(process);
}

void MsgctlWithoutService::install_service(const std::string& command_line) {
  _bus.add_activatable_service(service_name, command_line);
}

void Msgctl::TearDown() {
  if (const auto process = service_process()) end_process(*process, SIGTERM);
}

int Msgctl::send(const std::string& recipient, const std::string& text) {
  const Outcome run = msgctl({"send", "--json", "--to", recipient, text});
  EXPECT_EQ(run.status, 0) << run.err;
  return run.status == 0 ? run.json().at("item").at("message_id").get<int>() : 0;
}

std::optional<int> Msgctl::service_process() {
  if (!_bus.running()) return std::nullopt;
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  const std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> bus(
      g_dbus_connection_new_for_address_sync(_bus.address().c_str(), flags, nullptr, nullptr, nullptr), g_object_unref);
  if (!bus) return std::nullopt;
  const std::unique_ptr<GVariant, decltype(&g_variant_unref)> reply(
      g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                  "GetConnectionUnixProcessID", g_variant_new("(s)", service_name), nullptr,
                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr),
      g_variant_unref);
  if (!reply) return std::nullopt;
  guint32 process = 0;
  g_variant_get(reply.get(), "(u)", &process);
  return static_cast<int>(process);
}

}  // namespace msg_consumer::test
