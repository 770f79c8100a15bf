// SPDX-License-Identifier: Apache-2.0
#include "run/readiness.hpp"

#include <gio/gio.h>
#include <msg-consumer/msg-consumer-client.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "msgctl/owned.hpp"
#include "run/bus-configuration.hpp"
#include "run/failure.hpp"

namespace msg_consumer_run {
namespace {

using Clock = std::chrono::steady_clock;
using Connection = msgctl::Owned<GDBusConnection, g_object_unref>;
using Loop = msgctl::Owned<GMainLoop, g_main_loop_unref>;

constexpr std::chrono::milliseconds pause(1);
constexpr std::chrono::seconds readiness_patience(2);

Connection connect(const std::string& address) {
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  Connection bus(g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr));
  if (!bus) throw Failure("cannot connect to the private message bus");
  return bus;
}

void on_owned(GDBusConnection* /*bus*/, const char* /*name*/, const char* /*owner*/, gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
}

void wait_for_name(GDBusConnection* bus) {
  const Loop loop(g_main_loop_new(nullptr, FALSE));
  const guint watch = g_bus_watch_name_on_connection(bus, service_name, G_BUS_NAME_WATCHER_FLAGS_NONE, on_owned,
                                                     nullptr, loop.get(), nullptr);
  g_main_loop_run(loop.get());
  g_bus_unwatch_name(watch);
}

// The service owns its name a moment before it declares itself ready. A scenario may have it never do that, which is
// then for the command to cope with.
void wait_until_ready() {
  const auto deadline = Clock::now() + readiness_patience;
  while (msg_consumer_connect() != MSG_CONSUMER_ERROR_NONE && Clock::now() < deadline) {
    std::this_thread::sleep_for(pause);
  }
  static_cast<void>(msg_consumer_disconnect());
}

}  // namespace

int wait_for_service(const std::string& address) {
  // Not being ready yet is no error worth showing.
  static_cast<void>(setenv("MSG_CONSUMER_LOG_LEVEL", "7", 1));
  wait_for_name(connect(address).get());
  wait_until_ready();
  return EXIT_SUCCESS;
}

}  // namespace msg_consumer_run
