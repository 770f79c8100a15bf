// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONNECTIONMANAGER_H
#define MSG_CONSUMER_CONNECTIONMANAGER_H

#include <msg-consumer/EventType.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// The link to the message consumer service.
///
/// Common to all managers: they keep no state, so any instance serves and may be made where it is needed. They return
/// the library's internal results: 0 success; -1 general failure; -2 no memory, no connection object, or text that is
/// not UTF-8 and cannot be sent; -3 a refused argument, before anything is read or sent; -4 no connection, or no usable
/// reply within five seconds, and then a change may or may not have happened; -1101 no such record; from -1102 down to
/// -1107 the store cannot be read (see `msg_consumer::db::Status`); any other number is the service's own status.
/// Outputs of reading methods hold what the store wrote and are the caller's. Texts are UTF-8 without NUL, times are
/// milliseconds since 1970. What the library does about threads and blocking is said in msg-consumer-client.h. Only
/// running out of memory throws, as `std::bad_alloc`.
class ConnectionManager {
 public:
  /// Connects to the service and opens the message store; connecting again keeps the connection. -1: the
  /// service is not ready and was asked to start (call again a little later), or its readiness cannot be read. -4: the
  /// system bus cannot be reached.
  int connect();

  /// Drops all event callbacks and closes connection and store. Succeeds also when not connected.
  int disconnect();

  /// Has `cb` called for every event of `type`, in the order of subscription. `data` is a JSON object, valid during the
  /// call. The same callback is held once per type, with its first `user_data`. A type that does not exist is accepted
  /// and never comes. -3: `cb` is null.
  int subscribeEvent(EventType type, void (*cb)(const char* data, void* user_data), void* user_data);

  /// Takes a callback back. -1: it is not subscribed to `type`.
  int unsubscribeEvent(EventType type, void (*cb)(const char* data, void* user_data));
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
