// SPDX-License-Identifier: Apache-2.0
#include <gio/gio.h>
#include <msg-consumer-platform/app-control.h>

#include <memory>
#include <msg-consumer-platform/releaser.hpp>
#include <new>

struct app_control_s {
  msg_consumer::Owned<char, g_free> app_id;
};

namespace {

using msg_consumer::Owned;

using Connection = Owned<GDBusConnection, g_object_unref>;

// The shared connection of g_bus_get_sync() belongs to the application, which may be about to lose or close it.
Connection open_private_connection() {
  const Owned<char, g_free> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  if (!address) {
    return nullptr;
  }
  constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                           G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  return Connection(g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, nullptr));
}

// A call would wait until the application owns its name; without a reply, the bus has the request once it is flushed.
bool send_start_request(GDBusConnection* connection, const char* name) {
  const Owned<GDBusMessage, g_object_unref> message(g_dbus_message_new_method_call(
      "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "StartServiceByName"));
  g_dbus_message_set_body(message.get(), g_variant_new("(su)", name, 0U));
  g_dbus_message_set_flags(message.get(), G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
  return g_dbus_connection_send_message(connection, message.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr) !=
             FALSE &&
         g_dbus_connection_flush_sync(connection, nullptr, nullptr) != FALSE;
}

}  // namespace

int app_control_create(app_control_h* app_control) {
  if (app_control == nullptr) {
    return APP_CONTROL_INVALID_ARGUMENT;
  }
  std::unique_ptr<app_control_s> request(new (std::nothrow) app_control_s);
  if (!request) {
    return APP_CONTROL_OUT_OF_MEMORY;
  }
  *app_control = request.release();
  return APP_CONTROL_OK;
}

int app_control_set_app_id(app_control_h app_control, const char* app_id) {
  if (app_control == nullptr || app_id == nullptr) {
    return APP_CONTROL_INVALID_ARGUMENT;
  }
  // A unique name (":1.5") is a valid bus name, but nothing that can be launched.
  if (g_dbus_is_name(app_id) == FALSE || g_dbus_is_unique_name(app_id) != FALSE) {
    return APP_CONTROL_INVALID_APP_ID;
  }
  app_control->app_id.reset(g_strdup(app_id));
  return APP_CONTROL_OK;
}

int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback, void* user_data) {
  if (app_control == nullptr) {
    return APP_CONTROL_INVALID_ARGUMENT;
  }
  if (callback != nullptr || user_data != nullptr) {
    return APP_CONTROL_REPLY_NOT_SUPPORTED;
  }
  if (!app_control->app_id) {
    return APP_CONTROL_NO_APP_ID;
  }
  const Connection connection = open_private_connection();
  if (!connection) {
    return APP_CONTROL_NO_BUS;
  }
  const bool sent = send_start_request(connection.get(), app_control->app_id.get());
  g_dbus_connection_close_sync(connection.get(), nullptr, nullptr);
  return sent ? APP_CONTROL_OK : APP_CONTROL_NOT_SENT;
}

int app_control_destroy(app_control_h app_control) {
  if (app_control == nullptr) {
    return APP_CONTROL_INVALID_ARGUMENT;
  }
  const std::unique_ptr<app_control_s> owner(app_control);
  return APP_CONTROL_OK;
}
