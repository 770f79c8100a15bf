// SPDX-License-Identifier: Apache-2.0
#include "fake-gio.hpp"

#include <set>

#include <msg-consumer-platform/releaser.hpp>

namespace fake {

namespace {

// Any GObject serves as a connection: only the functions below ever look at it.
std::set<const void*> closed_connections;

void on_finalised(gpointer, GObject* connection) {
  --gio().alive_connections;
  closed_connections.erase(connection);
}

GDBusConnection* new_connection() {
  auto* const object = static_cast<GObject*>(g_object_new(G_TYPE_OBJECT, nullptr));
  g_object_weak_ref(object, on_finalised, nullptr);
  ++gio().alive_connections;
  return reinterpret_cast<GDBusConnection*>(object);
}

void set_error(GError** error, const std::string& text) {
  if (error != nullptr) *error = g_error_new_literal(G_IO_ERROR, G_IO_ERROR_FAILED, text.c_str());
}

}  // namespace

Gio& gio() {
  static Gio instance;
  return instance;
}

void Gio::reply_status(int status) {
  reply = [status](const Call&, std::string&) { return g_variant_new("(i)", status); };
}

void Gio::reply_id_and_status(int id, int status) {
  reply = [id, status](const Call&, std::string&) { return g_variant_new("(ii)", id, status); };
}

void Gio::fail_calls(const std::string& error_text) {
  reply = [error_text](const Call&, std::string& error) -> GVariant* {
    error = error_text;
    return nullptr;
  };
}

void Gio::close_connections() {
  for (const auto& subscription : subscriptions) closed_connections.insert(subscription.connection);
}

void Gio::emit(const char* member, GVariant* parameters, const char* interface) {
  const msg_consumer::Owned<GVariant, g_variant_unref> owned(g_variant_ref_sink(parameters));
  const auto& subscription = subscriptions.back();
  subscription.callback(subscription.connection, ":1.1", "/com/velmora/message/consumer", interface, member,
                        owned.get(), subscription.user_data);
}

void Gio::reset() {
  const int alive = alive_connections;
  *this = Gio();
  alive_connections = alive;
  reply_status(0);
}

}  // namespace fake

using fake::gio;

extern "C" {

GDBusConnection* g_bus_get_sync(GBusType type, GCancellable*, GError** error) {
  if (type != G_BUS_TYPE_SYSTEM || !gio().bus_reachable) {
    fake::set_error(error, "no bus");
    return nullptr;
  }
  ++gio().shared_connections;
  GDBusConnection* const connection = fake::new_connection();
  if (gio().shared_connection_is_dead) fake::closed_connections.insert(connection);
  return connection;
}

char* g_dbus_address_get_for_bus_sync(GBusType, GCancellable*, GError**) { return g_strdup("unix:path=/fake"); }

GDBusConnection* g_dbus_connection_new_for_address_sync(const char* address, GDBusConnectionFlags flags,
                                                        GDBusAuthObserver*, GCancellable*, GError** error) {
  constexpr int EXPECTED =
      G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
  if (!gio().own_connection_reachable || std::string(address) != "unix:path=/fake" || flags != EXPECTED) {
    fake::set_error(error, "no bus at the address");
    return nullptr;
  }
  ++gio().own_connections;
  return fake::new_connection();
}

void g_dbus_connection_set_exit_on_close(GDBusConnection*, gboolean exit_on_close) {
  if (exit_on_close == FALSE) ++gio().exit_on_close_switched_off;
}

gboolean g_dbus_connection_is_closed(GDBusConnection* connection) {
  return fake::closed_connections.count(connection) != 0 ? TRUE : FALSE;
}

guint g_dbus_connection_signal_subscribe(GDBusConnection* connection, const gchar* sender, const gchar* interface_name,
                                         const gchar* member, const gchar* object_path, const gchar* arg0,
                                         GDBusSignalFlags flags, GDBusSignalCallback callback, gpointer user_data,
                                         GDestroyNotify) {
  static unsigned int last_id = 0;
  if (static_cast<int>(gio().subscriptions.size()) == gio().failing_subscription) return 0;
  gio().subscriptions.push_back({connection, sender, interface_name, member, object_path, arg0 != nullptr, flags,
                                 callback, user_data, ++last_id});
  return last_id;
}

void g_dbus_connection_signal_unsubscribe(GDBusConnection*, guint id) { gio().unsubscribed.push_back(id); }

GVariant* g_dbus_connection_call_sync(GDBusConnection*, const gchar* bus_name, const gchar* object_path,
                                      const gchar* interface_name, const gchar* method, GVariant* parameters,
                                      const GVariantType* reply_type, GDBusCallFlags flags, gint timeout_msec,
                                      GCancellable*, GError** error) {
  using Variant = msg_consumer::Owned<GVariant, g_variant_unref>;
  const Variant params(parameters != nullptr ? g_variant_ref_sink(parameters) : nullptr);
  fake::Call call{bus_name, object_path, interface_name, method, "null", "null", "null", flags, timeout_msec};
  if (params) {
    const msg_consumer::Owned<char, g_free> printed(g_variant_print(params.get(), TRUE));
    call.params = printed.get();
    call.params_type = g_variant_get_type_string(params.get());
  }
  if (reply_type != nullptr) call.reply_type = g_variant_type_peek_string(reply_type);
  gio().calls.push_back(call);
  std::string error_text;
  GVariant* const reply = gio().reply(call, error_text);
  if (!error_text.empty()) fake::set_error(error, error_text);
  return reply != nullptr ? g_variant_take_ref(reply) : nullptr;
}

}  // extern "C"
