// SPDX-License-Identifier: Apache-2.0
#include "msgctl/connection.hpp"

#include <msg-consumer/msg-consumer-client.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include "msgctl/bus.hpp"
#include "msgctl/failure.hpp"

namespace msgctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience(5);
constexpr std::chrono::milliseconds first_pause(20);
constexpr std::chrono::milliseconds longest_pause(200);

void fail_where_waiting_is_futile(const ServiceOnBus& service) {
  if (!service.bus_error.empty()) {
    throw Failure(ExitCode::Unreachable, "cannot reach the system message bus: " + service.bus_error,
                  "Start the bus, or let DBUS_SYSTEM_BUS_ADDRESS name the one to use.");
  }
  if (!service.running && !service.activatable) {
    throw Failure(ExitCode::Unreachable, std::string("the service ") + service_name + " is not installed",
                  "The bus neither has it nor knows how to start it: install the service, or start it by hand.");
  }
}

[[noreturn]] void fail_after_waiting(const ServiceOnBus& service) {
  const std::string waited = "within " + std::to_string(patience.count()) + " s";
  if (service.running) {
    throw Failure(ExitCode::Unreachable, "the service runs, but did not declare itself ready " + waited,
                  "May this user read its preferences? --debug shows the cause.");
  }
  throw Failure(ExitCode::Unreachable, "the service did not become ready " + waited,
                "The bus was asked to start it: the logs of the bus and of the service say why it did not come up.");
}

// The library starts the service but does not wait for it, and has no event for "ready": asking again is the way.
void connect_patiently() {
  const auto deadline = Clock::now() + patience;
  auto pause = first_pause;
  bool looked_at_bus = false;
  while (msg_consumer_connect() != MSG_CONSUMER_ERROR_NONE) {
    if (!looked_at_bus) fail_where_waiting_is_futile(look_at_bus());
    looked_at_bus = true;
    if (Clock::now() >= deadline) fail_after_waiting(look_at_bus());
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, longest_pause);
  }
}

}  // namespace

Connection::Connection() { connect_patiently(); }

Connection::~Connection() { static_cast<void>(msg_consumer_disconnect()); }

}  // namespace msgctl
