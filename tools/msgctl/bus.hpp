// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BUS_HPP
#define MSGCTL_BUS_HPP

#include <gio/gio.h>

#include <functional>
#include <string>

#include "msgctl/owned.hpp"

namespace msgctl {

inline constexpr const char* service_name = "com.velmora.message.consumer";

/// The service as the message bus sees it.
struct ServiceOnBus {
  std::string bus_error;     ///< why the bus cannot be asked, empty when it answers
  bool running = false;      ///< owns its name
  bool activatable = false;  ///< can be started by the bus
  int process_id = 0;        ///< 0 when not running
};

/// Asks the system bus, over a connection of its own.
ServiceOnBus look_at_bus();

/// Tells when the system bus goes away, which the library's events cannot.
class BusGuard {
 public:
  /// `on_loss` is called by the thread-default main context.
  explicit BusGuard(std::function<void()> on_loss);
  ~BusGuard();
  BusGuard(const BusGuard&) = delete;
  BusGuard& operator=(const BusGuard&) = delete;

 private:
  std::function<void()> _on_loss;
  Owned<GDBusConnection, g_object_unref> _bus;
  gulong _handler = 0;
};

}  // namespace msgctl

#endif
