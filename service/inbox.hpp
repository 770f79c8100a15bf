// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_INBOX_HPP
#define MSG_CONSUMER_SERVICE_INBOX_HPP

#include "change.hpp"
#include "messages.hpp"
#include "store-writer.hpp"

namespace msg_consumer::service {

/// Where messages arrive.
class Inbox {
 public:
  explicit Inbox(StoreWriter& store) : _store(store) {}

  /// The thread that the user is looking at, 0 for none: what arrives in it counts as read.
  void set_active_thread(int id) { _active_thread = id; }

  /// Stores an incoming message, in the thread `num_b` or, when that is 0, in the thread of its sender and its other
  /// participants. Sets its id and its thread. Throws.
  Announcement receive(StoredMessage& stored);
  /// As `receive`, inside the caller's transaction.
  void store(StoredMessage& stored);

 private:
  int thread_for(const Message& message);

  StoreWriter& _store;
  int _active_thread = 0;
};

}  // namespace msg_consumer::service

#endif
