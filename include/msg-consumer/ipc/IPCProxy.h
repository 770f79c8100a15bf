// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_IPCPROXY_H
#define MSG_CONSUMER_IPC_IPCPROXY_H

#include <gio/gio.h>

#include <memory>
#include <string>
#include <vector>

#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer/EventType.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// The process's one connection to the message consumer service: opens and reopens it, makes blocking calls and
/// hands signals to the subscribed callbacks.
///
/// Nothing here is locked. Connect once, before several threads use it; connecting, disconnecting, subscribing and
/// calling at the same time is not safe. Callbacks run on the thread that iterates the main context which was the
/// thread-default one at `connect`, or, once a call has reopened the connection, the calling thread's at that call. A
/// callback must not throw.
class IPCProxy : public MsgIPC {
 public:
  /// Receives the text that a signal carries, and what was handed in with the subscription.
  using EventCallback = void (*)(const char* data, void* user_data);

  /// The process's instance, made at the first use; null when it cannot be made or was destroyed at exit.
  static IPCProxy* getInstance();

  IPCProxy();
  ~IPCProxy();
  IPCProxy(const IPCProxy&) = delete;
  IPCProxy& operator=(const IPCProxy&) = delete;

  /// Connects to the system bus and subscribes the service's four signals. Returns 0, also when it is connected
  /// already, or -4.
  int connect();

  /// Drops all callbacks and closes the connection. Returns 0, also when it is not connected.
  int disconnect();

  /// Makes one blocking call, which is given five seconds, reopens the connection before it if the bus has closed it,
  /// and returns the service's status, or -4 when there is no connection, reconnecting failed or no usable reply came.
  ///
  /// A floating `params` is consumed, except where there is no connection at all: then it is left untouched. With
  /// `out` the reply must be "(ii)" and its first number goes there, whatever the status; without, it must be "(i)".
  int callSync(const std::string& method, GVariant* params, int* out);

  /// Calls `cb` for every event of `type`, after those subscribed before it. Returns 0, also when the same callback
  /// is subscribed to the type already (the first `user_data` stays), or -3 when `cb` is null.
  int subscribe(EventType type, EventCallback cb, void* user_data);

  /// Takes a callback back. Returns 0, or -1 when it is not subscribed to the type.
  int unsubscribe(EventType type, EventCallback cb);

 private:
  struct EventData {
    EventType type;
    EventCallback callback;
    void* user_data;
  };
  struct ConnectionRelease {
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
  };
  using ConnectionPtr = std::unique_ptr<GDBusConnection, ConnectionRelease>;

  int _openConnection();
  int _closeConnection();
  int _checkAndReopenConnection();
  std::vector<std::shared_ptr<EventData>> _eventsOf(EventType type) const;
  void _dispatch(EventType type, const char* data);

  static void _onDestroy();
  static void _signalHandler(GDBusConnection* connection, const char* sender, const char* object_path,
                             const char* interface_name, const char* signal_name, GVariant* parameters,
                             void* user_data);

  ConnectionPtr _connection;
  std::vector<unsigned int> _subscriptionIds;
  // Shared with the dispatch that walks over them.
  std::vector<std::shared_ptr<EventData>> _events;

  static IPCProxy* _instance;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
