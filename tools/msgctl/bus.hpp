// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BUS_HPP
#define MSGCTL_BUS_HPP

#include <gio/gio.h>

#include <functional>
#include <string>

#include "msgctl/owned.hpp"

namespace msgctl {

inline constexpr const char* service_name = "com.velmora.message.consumer";
inline constexpr const char* service_path = "/com/velmora/message/consumer";

using BusConnection = Owned<GDBusConnection, g_object_unref>;

/// A connection of its own to the system bus; null, and why, when that fails.
BusConnection open_bus(std::string& problem);

/// The service as the message bus sees it.
struct ServiceOnBus {
  std::string bus_error;     ///< why the bus cannot be asked, empty when it answers
  bool running = false;      ///< owns its name
  bool activatable = false;  ///< can be started by the bus
  int process_id = 0;        ///< 0 when not running
};

/// Asks the system bus, over a connection of its own.
ServiceOnBus look_at_bus();

/// What a method answered: a text, or an error.
struct BusReply {
  std::string text;
  std::string error_name;  ///< empty when there was none
  std::string error;
};

/// Calls a method of one of the interfaces that the service has besides the library's, which takes a text or, for
/// NULL, nothing. The bus starts the service where it does not run.
BusReply call_service(const char* interface, const char* method, const std::string* argument);

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
