// SPDX-License-Identifier: Apache-2.0
#include "msgctl/bus.hpp"

#include <utility>

namespace msgctl {
namespace {

using Value = Owned<GVariant, g_variant_unref>;
using Error = Owned<GError, g_error_free>;
using String = Owned<char, g_free>;

constexpr int timeout_ms = 2000;

std::string words_of(GError* error) {
  const Error owned(error);
  if (!owned) return "unknown error";
  g_dbus_error_strip_remote_error(owned.get());
  return owned->message;
}

// A call to the bus itself; null when it failed.
Value ask(GDBusConnection* bus, const char* method, GVariant* arguments, const char* reply_type) {
  const Owned<GVariantType, g_variant_type_free> type(g_variant_type_new(reply_type));
  return Value(g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                           method, arguments, type.get(), G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr,
                                           nullptr));
}

int process_of_service(GDBusConnection* bus) {
  const Value reply = ask(bus, "GetConnectionUnixProcessID", g_variant_new("(s)", service_name), "(u)");
  guint32 process = 0;
  if (reply) g_variant_get(reply.get(), "(u)", &process);
  return static_cast<int>(process);
}

bool is_activatable(GDBusConnection* bus) {
  const Value reply = ask(bus, "ListActivatableNames", nullptr, "(as)");
  if (!reply) return false;
  const Value names(g_variant_get_child_value(reply.get(), 0));
  const Owned<const char*, g_free> list(g_variant_get_strv(names.get(), nullptr));
  return g_strv_contains(list.get(), service_name);
}

void call_on_loss(GDBusConnection* /*bus*/, gboolean /*vanished*/, GError* /*error*/, gpointer on_loss) {
  (*static_cast<std::function<void()>*>(on_loss))();
}

BusReply failed(GError* error) {
  const String name(error != nullptr ? g_dbus_error_get_remote_error(error) : nullptr);
  return {{}, name ? name.get() : "org.freedesktop.DBus.Error.Failed", words_of(error)};
}

std::string text_in(GVariant* reply) {
  if (g_variant_is_of_type(reply, G_VARIANT_TYPE("(s)")) == FALSE) return {};
  const char* text = nullptr;
  g_variant_get(reply, "(&s)", &text);
  return text;
}

}  // namespace

BusConnection open_bus(std::string& problem) {
  GError* error = nullptr;
  const String address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  BusConnection bus;
  if (address) {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    bus.reset(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, &error));
  }
  if (!bus) problem = words_of(error);
  return bus;
}

BusReply call_service(const char* interface, const char* method, const std::string* argument) {
  std::string problem;
  const BusConnection bus = open_bus(problem);
  if (!bus) return {{}, "org.freedesktop.DBus.Error.NoServer", problem};
  GError* error = nullptr;
  GVariant* arguments = argument != nullptr ? g_variant_new("(s)", argument->c_str()) : nullptr;
  const Value reply(g_dbus_connection_call_sync(bus.get(), service_name, service_path, interface, method, arguments,
                                                nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error));
  return reply ? BusReply{text_in(reply.get()), {}, {}} : failed(error);
}

ServiceOnBus look_at_bus() {
  ServiceOnBus service;
  const BusConnection bus = open_bus(service.bus_error);
  if (!bus) return service;
  service.process_id = process_of_service(bus.get());
  service.running = service.process_id != 0;
  service.activatable = is_activatable(bus.get());
  return service;
}

BusGuard::BusGuard(std::function<void()> on_loss) : _on_loss(std::move(on_loss)) {
  std::string problem;
  _bus = open_bus(problem);
  if (_bus) _handler = g_signal_connect(_bus.get(), "closed", G_CALLBACK(call_on_loss), &_on_loss);
}

BusGuard::~BusGuard() {
  if (_bus) g_signal_handler_disconnect(_bus.get(), _handler);
}

}  // namespace msgctl
