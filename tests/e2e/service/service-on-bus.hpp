// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SERVICE_ON_BUS_HPP
#define MSG_CONSUMER_TESTS_SERVICE_ON_BUS_HPP

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>
#include <msg-consumer-platform/preference.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

#include "service/bus-names.hpp"
#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::service {

using Variant = Owned<GVariant, g_variant_unref>;
using Error = Owned<GError, g_error_free>;

/// What a call came back with.
struct Reply {
  Variant value;
  std::string error;  ///< the D-Bus error's name, empty when there is a value

  /// The integers of an answer "(i)" or "(ii)".
  [[nodiscard]] std::vector<int> integers() const {
    std::vector<int> result;
    for (gsize index = 0; value && index < g_variant_n_children(value.get()); ++index) {
      const Variant child(g_variant_get_child_value(value.get(), index));
      result.push_back(g_variant_get_int32(child.get()));
    }
    return result;
  }
};

/// A client's connection that calls the service, and hears its signals.
class Client {
 public:
  explicit Client(const std::string& address)
      : _connection(g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)) {
    EXPECT_TRUE(_connection);
    _subscription =
        g_dbus_connection_signal_subscribe(_connection.get(), BUS_NAME, INTERFACE_NAME, nullptr, OBJECT_PATH, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, on_signal, this, nullptr);
  }
  ~Client() { g_dbus_connection_signal_unsubscribe(_connection.get(), _subscription); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  Reply call(const char* method, GVariant* arguments = nullptr) {
    return call_on(BUS_NAME, OBJECT_PATH, INTERFACE_NAME, method, arguments);
  }
  Reply call_on(const char* name, const char* path, const char* interface, const char* method, GVariant* arguments) {
    GError* raw_error = nullptr;
    Reply reply;
    reply.value.reset(g_dbus_connection_call_sync(_connection.get(), name, path, interface, method, arguments, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, 30'000, nullptr, &raw_error));
    const Error error(raw_error);
    if (error) {
      const Owned<char, g_free> remote(g_dbus_error_get_remote_error(error.get()));
      reply.error = remote ? remote.get() : error->message;
    }
    return reply;
  }
  Reply ask_bus(const char* method, GVariant* arguments) {
    return call_on("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments);
  }

  /// The service's process id, 0 when it does not run.
  pid_t service_pid() {
    const Reply reply = ask_bus("GetConnectionUnixProcessID", g_variant_new("(s)", BUS_NAME));
    guint32 pid = 0;
    if (reply.value) {
      g_variant_get(reply.value.get(), "(u)", &pid);
    }
    return static_cast<pid_t>(pid);
  }

  std::vector<int> send(const char* recipient, const std::string& text) {
    return call("send_message", g_variant_new("(sisssi)", "sms", 0, recipient, text.c_str(), "", 1)).integers();
  }

  /// Every signal so far: its name, a blank and its text.
  const std::vector<std::string>& signals() const { return _signals; }
  bool heard(std::size_t count) {
    return test::iterate_until([&] { return _signals.size() >= count; });
  }
  GDBusConnection* connection() { return _connection.get(); }

 private:
  static void on_signal(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
                        const char* /*interface*/, const char* signal, GVariant* parameters, void* self) {
    const char* text = nullptr;
    g_variant_get(parameters, "(&s)", &text);
    static_cast<Client*>(self)->_signals.push_back(std::string(signal) + " " + text);
  }

  Owned<GDBusConnection, g_object_unref> _connection;
  guint _subscription = 0;
  std::vector<std::string> _signals;
};

/// Places of its own and a bus of its own, on which the service is started on demand.
class ServiceOnBus : public testing::Test {
 protected:
  ServiceOnBus() { bus.add_activatable_service(BUS_NAME, SERVICE_PROGRAM); }
  ~ServiceOnBus() override { db::deinit_db(); }

  static int readiness() {
    int value = -1;
    EXPECT_EQ(preference_get_int("consumer_preference_int_consumer_status", &value), 0);
    return value;
  }
  static bool becomes_ready() {
    return test::wait_until([] { return readiness() == 1; });
  }

  test::TempDir folder;
  std::string path = folder.file("messages.db");
  test::EnvironmentVariable database{"MSG_CONSUMER_DB", path};
  test::EnvironmentVariable files{"MSG_CONSUMER_FILES", folder.file("files")};
  test::EnvironmentVariable preferences{"MSG_CONSUMER_PREFERENCES", folder.file("preferences.ini")};
  test::PrivateBus bus;
};

}  // namespace msg_consumer::service

#endif
