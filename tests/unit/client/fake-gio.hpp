// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_GIO_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_GIO_HPP

// GIO's D-Bus functions as this executable defines them in GIO's place: a bus that answers what a test says.

#include <gio/gio.h>

#include <functional>
#include <string>
#include <vector>

namespace fake {

struct Call {
  std::string bus_name, object_path, interface, method;
  std::string params;       ///< printed with its types, "null" where there is no body
  std::string params_type;  ///< for example "(ii)"
  std::string reply_type;   ///< what the caller asked for, "null" for none
  GDBusCallFlags flags;
  int timeout_ms;
};

struct Subscription {
  GDBusConnection* connection;
  std::string sender, interface, member, object_path;
  bool has_arg0;
  GDBusSignalFlags flags;
  GDBusSignalCallback callback;
  gpointer user_data;
  unsigned int id;
};

struct Gio {
  // What a test sets.
  bool bus_reachable = true;
  bool own_connection_reachable = true;
  bool shared_connection_is_dead = false;  ///< g_bus_get_sync() hands out a closed connection
  int failing_subscription = -1;           ///< the how-manieth subscription returns 0
  /// The reply to a call: a floating or owned value, or null and an error text.
  std::function<GVariant*(const Call&, std::string& error)> reply;

  // What a test reads.
  int shared_connections = 0;
  int own_connections = 0;
  int alive_connections = 0;
  int exit_on_close_switched_off = 0;
  std::vector<Call> calls;
  std::vector<Subscription> subscriptions;
  std::vector<unsigned int> unsubscribed;

  /// Replies "(i)" with this status to every call.
  void reply_status(int status);
  /// Replies "(ii)" with these to every call.
  void reply_id_and_status(int id, int status);
  /// Fails every call with an error and no reply.
  void fail_calls(const std::string& error);

  /// Marks all connections handed out so far as closed by the bus.
  void close_connections();
  /// Emits a signal to the subscriptions of the last connection.
  void emit(const char* member, GVariant* parameters, const char* interface = "com.velmora.message.consumer.server");

  /// Undoes all settings and records.
  void reset();
};

Gio& gio();

}  // namespace fake

#endif
