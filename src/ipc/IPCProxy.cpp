// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/IPCProxy.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string_view>

#include <msg-consumer-platform/logging.hpp>
#include <msg-consumer-platform/releaser.hpp>

#include "GLibOwners.hpp"
#include "Results.hpp"
#include "ServiceNames.hpp"

namespace msg_consumer {

namespace {

constexpr int CALL_TIMEOUT_MS = 5000;

struct Signal {
  const char* name;
  EventType type;
};

/// The service's signals, in the order in which they are subscribed.
constexpr std::array<Signal, 4> SIGNALS = {{
    {"storage_changed", EVENT_STORAGE_CHANGED},
    {"content_changed", EVENT_CONTENT_CHANGED},
    {"groupchat_state_changed", EVENT_GROUPCHAT_STATE_CHANGED},
    {"store_message_result", EVENT_STORE_MESSAGE_RESULT},
}};

const char* text_of(const Error& error) { return error ? error->message : "no reason given"; }

/// The shared connection to the system bus, or one of our own: GLib goes on handing out a shared connection that the
/// bus has closed for as long as anybody holds it.
GDBusConnection* open_system_bus(GError** error) {
  using ConnectionPtr = Owned<GDBusConnection, g_object_unref>;
  ConnectionPtr connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
  if (connection && g_dbus_connection_is_closed(connection.get())) {
    const String address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
    if (!address) return nullptr;
    constexpr auto FLAGS = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    connection.reset(g_dbus_connection_new_for_address_sync(address.get(), FLAGS, nullptr, nullptr, error));
  }
  // The shared one would end the application with SIGTERM when the bus goes away.
  if (connection) g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  return connection.release();
}

/// Whether the exit handler has destroyed the instance. `_instance` goes on pointing there, and whoever still calls
/// during the process's end must not be handed it.
bool is_destroyed = false;

}  // namespace

IPCProxy* IPCProxy::_instance = nullptr;

IPCProxy* IPCProxy::getInstance() {
  if (_instance == nullptr) {
    _instance = new (std::nothrow) IPCProxy;  // NOLINT(cppcoreguidelines-owning-memory): owned by the exit handler
    is_destroyed = false;
    if (_instance != nullptr && std::atexit(_onDestroy) != 0) LOG_ERROR(HERE, "[ERROR] atexit() failed!");
  }
  return is_destroyed ? nullptr : _instance;
}

void IPCProxy::_onDestroy() {
  if (_instance == nullptr || is_destroyed) return;
  is_destroyed = true;
  delete _instance;  // NOLINT(cppcoreguidelines-owning-memory)
}

IPCProxy::IPCProxy() = default;

IPCProxy::~IPCProxy() {
  if (_connection) _closeConnection();
}

int IPCProxy::connect() { return _openConnection(); }

int IPCProxy::disconnect() {
  _events.clear();
  return _closeConnection();
}

int IPCProxy::callSync(const std::string& method, GVariant* params, int* out) {
  if (!_connection) {
    LOG_ERROR(HERE, "[ERROR] dbus connection is not established yet!");
    return RESULT_IPC_FAILED;
  }
  if (const int result = _checkAndReopenConnection(); result != 0) {
    LOG_ERROR(HERE, "[ERROR] _checkAndReopenConnection() failed: err(%d)", result);
    // Frees a floating value and leaves a caller's own reference alone.
    if (params != nullptr) g_variant_unref(g_variant_ref_sink(params));
    return result;
  }

  GError* failure = nullptr;
  const Variant reply(g_dbus_connection_call_sync(_connection.get(), SERVICE_BUS_NAME, SERVICE_OBJECT_PATH,
                                                  SERVICE_INTERFACE, method.c_str(), params, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, CALL_TIMEOUT_MS, nullptr, &failure));
  if (const Error error(failure); error) {
    LOG_ERROR(HERE, "[ERROR] method:(%s), error:(%s)", method.c_str(), error->message);
  }
  if (!reply) return RESULT_IPC_FAILED;

  // g_variant_get() would leave its outputs unset on a reply of another type.
  const char* const expected = out != nullptr ? "(ii)" : "(i)";
  if (!g_variant_is_of_type(reply.get(), G_VARIANT_TYPE(expected))) {
    LOG_ERROR(HERE, "[ERROR] method:(%s), error:(the reply is of type %s instead of %s)", method.c_str(),
              g_variant_get_type_string(reply.get()), expected);
    return RESULT_IPC_FAILED;
  }
  int status = 0;
  if (out != nullptr) {
    g_variant_get(reply.get(), expected, out, &status);
  } else {
    g_variant_get(reply.get(), expected, &status);
  }
  return status;
}

int IPCProxy::subscribe(EventType type, EventCallback cb, void* user_data) {
  if (cb == nullptr) {
    LOG_ERROR(HERE, "[ERROR] Invalid param: cb is nullptr!");
    return RESULT_INVALID_ARGUMENT;
  }
  const auto is_same = [&](const auto& event) { return event->type == type && event->callback == cb; };
  if (std::any_of(_events.begin(), _events.end(), is_same)) {
    LOG_INFO(HERE, "The same event callback is already subscribed! type:(%d), cb:(%p)", type,
             reinterpret_cast<void*>(cb));
    return 0;
  }
  const auto& event = _events.emplace_back(std::make_shared<EventData>(EventData{type, cb, user_data}));
  LOG_INFO(HERE, "Event:(%p) subscribed! (type:%d, cb:%p)", static_cast<void*>(event.get()), type,
           reinterpret_cast<void*>(cb));
  return 0;
}

int IPCProxy::unsubscribe(EventType type, EventCallback cb) {
  const auto found = std::find_if(_events.begin(), _events.end(),
                                  [&](const auto& event) { return event->type == type && event->callback == cb; });
  if (found == _events.end()) {
    LOG_WARNING(HERE, "No event callback subscribed! (type:%d, cb:%p)", type, reinterpret_cast<void*>(cb));
    return RESULT_FAILED;
  }
  _events.erase(found);
  return 0;
}

int IPCProxy::_openConnection() {
  if (_connection) {
    LOG_ERROR(HERE, "[ERROR] dbus connection is already established!");
    return 0;
  }
  GError* failure = nullptr;
  ConnectionPtr connection(open_system_bus(&failure));
  const Error error(failure);
  if (error || !connection) {
    LOG_ERROR(HERE, "[ERROR] g_bus_get_sync() failed: (%s)", text_of(error));
    return RESULT_IPC_FAILED;
  }
  // Before the first is made: whoever shares the connection keeps alive what nobody knows the id of.
  _subscriptionIds.reserve(_subscriptionIds.size() + SIGNALS.size());
  for (const auto& signal : SIGNALS) {
    const unsigned int id = g_dbus_connection_signal_subscribe(connection.get(), SERVICE_BUS_NAME, SERVICE_INTERFACE,
                                                               signal.name, SERVICE_OBJECT_PATH, nullptr,
                                                               G_DBUS_SIGNAL_FLAGS_NONE, _signalHandler, this, nullptr);
    if (id == 0) {
      LOG_ERROR(HERE, "[ERROR] g_dbus_connection_signal_subscribe() failed for signalName:(%s)", signal.name);
      // The subscriptions made so far go with the connection.
      _subscriptionIds.clear();
      return RESULT_IPC_FAILED;
    }
    _subscriptionIds.push_back(id);
  }
  _connection = std::move(connection);
  return 0;
}

int IPCProxy::_closeConnection() {
  if (!_connection) {
    LOG_ERROR(HERE, "[ERROR] dbus connection is not established yet!");
    return 0;
  }
  // The ids are kept: those of an earlier connection are unknown to this one, which ignores them.
  for (const unsigned int id : _subscriptionIds) g_dbus_connection_signal_unsubscribe(_connection.get(), id);
  _connection.reset();
  return 0;
}

int IPCProxy::_checkAndReopenConnection() {
  if (!g_dbus_connection_is_closed(_connection.get())) return 0;
  LOG_ERROR(HERE, "[ERROR] dbus connection has been closed! try to open it again!");
  _closeConnection();
  const int result = _openConnection();
  if (result != 0) LOG_ERROR(HERE, "_openConnection() failed: (%d)", result);
  return result;
}

void IPCProxy::_signalHandler(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*object_path*/,
                              const char* interface_name, const char* signal_name, GVariant* parameters,
                              void* user_data) {
  if (signal_name == nullptr) {
    LOG_ERROR(HERE, "[ERROR] sig is nullptr!");
    return;
  }
  if (interface_name == nullptr) {
    LOG_ERROR(HERE, "[ERROR] interface is nullptr!");
    return;
  }
  if (std::string_view(interface_name) != SERVICE_INTERFACE) {
    LOG_ERROR(HERE, "[ERROR] Not handled signal: (%s)", interface_name);
    return;
  }
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(s)"))) {
    LOG_ERROR(HERE, "[ERROR] signal:(%s), error:(the parameters are of type %s instead of (s))", signal_name,
              g_variant_get_type_string(parameters));
    return;
  }
  char* unpacked = nullptr;
  g_variant_get(parameters, "(s)", &unpacked);
  const String data(unpacked);
  const auto* const signal = std::find_if(SIGNALS.begin(), SIGNALS.end(), [&](const Signal& candidate) {
    return std::string_view(candidate.name) == signal_name;
  });
  if (signal == SIGNALS.end()) {
    LOG_ERROR(HERE, "[ERROR] Invalid signal name: (%s)", signal_name);
    return;
  }
  static_cast<IPCProxy*>(user_data)->_dispatch(signal->type, data.get());
}

std::vector<std::shared_ptr<IPCProxy::EventData>> IPCProxy::_eventsOf(EventType type) const {
  std::vector<std::shared_ptr<EventData>> events;
  std::copy_if(_events.begin(), _events.end(), std::back_inserter(events),
               [&](const auto& event) { return event->type == type; });
  return events;
}

void IPCProxy::_dispatch(EventType type, const char* data) {
  std::vector<std::shared_ptr<EventData>> due;
  try {
    due = _eventsOf(type);
  } catch (const std::bad_alloc&) {
    // GLib's main loop is no place for an exception.
    LOG_ERROR(HERE, "[ERROR] Failed to allocate memory!");
  }
  // A callback may subscribe, unsubscribe or disconnect. The walk is over a copy, which keeps the records and so their
  // addresses; what has been taken out of the list meanwhile is passed over.
  for (const auto& event : due) {
    if (std::find(_events.begin(), _events.end(), event) == _events.end()) continue;
    event->callback(data, event->user_data);
  }
}

}  // namespace msg_consumer
