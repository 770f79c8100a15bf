// SPDX-License-Identifier: Apache-2.0
#include "inbox.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include "record-values.hpp"
#include "schema/address.hpp"

namespace msg_consumer::service {
namespace {

Address sender_of(const Message& message) {
  Address sender;
  sender.num_b = schema::address_kind(message.str_p);
  sender.num_c = ROLE_FROM;
  sender.address = message.str_p;
  return sender;
}

// A message that was stored once before brings its sender along.
bool names_sender(const Message& message) {
  const std::string sender = schema::normalise_address(message.str_p);
  return std::any_of(message.addresses.begin(), message.addresses.end(), [&](const Address& address) {
    return address.num_c == ROLE_FROM && schema::normalise_address(address.address) == sender;
  });
}

}  // namespace

Announcement Inbox::receive(StoredMessage& stored) {
  return *_store.commit([&]() -> std::optional<Change> {
    store(stored);
    return Change{.event = "added", .message_ids = {stored.message.id}, .thread_ids = {stored.message.num_b}};
  });
}

void Inbox::store(StoredMessage& stored) {
  Message& message = stored.message;
  message.num_e = DIRECTION_INCOMING;
  if (!message.str_p.empty() && !names_sender(message)) {
    message.addresses.insert(message.addresses.begin(), sender_of(message));
  }
  message.num_b = thread_for(message);
  if (message.num_b == _active_thread) {
    message.flag_j = 1;
  }
  _store.messages().insert(stored);
}

int Inbox::thread_for(const Message& message) {
  if (message.num_b > 0) {
    return _store.threads().get(message.num_b).id;
  }
  std::vector<std::string> participants;
  for (const Address& address : message.addresses) {
    if (address.flag_e == 0) {
      participants.push_back(address.address);
    }
  }
  return _store.threads().find_or_make(participants).id;
}

}  // namespace msg_consumer::service
