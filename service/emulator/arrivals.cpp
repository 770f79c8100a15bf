// SPDX-License-Identifier: Apache-2.0
#include "arrivals.hpp"

#include <utility>

#include "message-content.hpp"
#include "record-values.hpp"
#include "schema/address.hpp"

namespace msg_consumer::service::emulator {
namespace {

void add_addresses(Message& message, const std::vector<std::string>& texts, AddressRole role) {
  for (const std::string& text : texts) {
    Address& address = message.addresses.emplace_back();
    address.num_b = schema::address_kind(text);
    address.num_c = role;
    address.address = text;
  }
}

StoredMessage envelope(const Receive& receive, const Clock& clock) {
  StoredMessage stored{.message = {}, .sender_name = receive.from_name};
  Message& message = stored.message;
  message.num_c = receive.type;
  message.str_p = receive.from;
  message.str_o = receive.subject;
  message.time_ms = receive.time_ms.value_or(clock.now_ms());
  message.num_h = receive.sim;
  message.flag_j = receive.is_read ? 1 : 0;
  message.flag_k = receive.is_locked ? 1 : 0;
  message.flag_l = receive.is_blocked ? 1 : 0;
  message.subType = receive.is_blocked ? SUBTYPE_BLOCKED : SUBTYPE_PLAIN;
  add_addresses(message, receive.to, ROLE_TO);
  add_addresses(message, receive.cc, ROLE_CC);
  return stored;
}

void announce_content(Message& message, const Receive& receive) {
  message.subType = SUBTYPE_MMS_NOTIFICATION;
  message.num_n = RETRIEVAL_NEEDED;
  std::size_t size = receive.text.size();
  for (const Part& part : receive.parts) {
    size += part.text.value_or(part.bytes).size();
  }
  message.num_q = static_cast<int>(size);
}

/// Who takes part in a chat: whom the step names, or who did before, and in any case the sender.
std::vector<std::string> members(const Receive& receive, std::vector<std::string> before) {
  std::vector<std::string> all = receive.chat->participants.empty() ? std::move(before) : receive.chat->participants;
  all.push_back(receive.from);
  return distinct_addresses(all);
}

}  // namespace

Json Arrivals::receive(const Receive& receive) {
  if (!receive.segment) {
    return receive_all(receive);
  }
  Segments before = _segments;
  try {
    const std::optional<Receive> whole = _segments.add(receive);
    return whole ? receive_all(*whole) : Json{{"whole", false}};
  } catch (...) {
    _segments = std::move(before);
    throw;
  }
}

Json Arrivals::receive_all(const Receive& receive) {
  Json ids = Json::array();
  Json result;
  for (int number = 1; number <= receive.repeat; ++number) {
    Receive one = receive;
    if (receive.repeat > 1) {
      one.text += (one.text.empty() ? "" : " ") + std::to_string(number);
      // In their order, also in a list.
      one.time_ms = receive.time_ms.value_or(_parts.clock.now_ms()) + (receive.time_ms ? number - 1 : 0);
    }
    const StoredMessage stored = store(one);
    ids.push_back(stored.message.id);
    result = {{"message_id", stored.message.id}, {"thread_id", stored.message.num_b}};
  }
  if (receive.repeat > 1) {
    result["message_ids"] = std::move(ids);
  }
  return result;
}

StoredMessage Arrivals::store(const Receive& receive) {
  if (receive.chat) {
    update_chat(receive);
  }
  StoredMessage stored = envelope(receive, _parts.clock);
  Message& message = stored.message;
  IncomingFiles files = receive.is_notification ? IncomingFiles() : stage_files(_parts.files, receive.parts);
  const auto announcement = _parts.store.commit([&]() -> std::optional<Change> {
    if (receive.is_notification) {
      announce_content(message, receive);
    } else {
      add_content(message, receive, _parts.files, files, _parts.store.messages().next_id());
    }
    if (receive.chat) {
      message.num_b = thread_of_chat(receive);
    }
    _parts.inbox.store(stored);
    return Change{.event = "added", .message_ids = {message.id}, .thread_ids = {message.num_b}};
  });
  files.keep();
  if (receive.is_notification) {
    _network.keep(message.id, receive);
  }
  _parts.announcer.announce(*announcement);
  return stored;
}

// A change of its own: who takes part is known before the message comes.
void Arrivals::update_chat(const Receive& receive) {
  const auto announcement = _parts.store.commit([&]() -> std::optional<Change> {
    Threads& threads = _parts.store.threads();
    const std::optional<ThreadInfo> thread = threads.find_group(receive.chat->chat.chat_id);
    if (!thread ||
        !threads.change_group(*thread, members(receive, threads.participants(thread->id)), receive.chat->chat.title)) {
      return std::nullopt;
    }
    return Change{.signal = GROUPCHAT_STATE_CHANGED, .thread_ids = {thread->id}};
  });
  if (announcement) {
    _parts.announcer.announce(*announcement);
  }
}

int Arrivals::thread_of_chat(const Receive& receive) {
  Threads& threads = _parts.store.threads();
  const std::optional<ThreadInfo> thread = threads.find_group(receive.chat->chat.chat_id);
  return thread ? thread->id : threads.make_group(members(receive, {}), receive.chat->chat);
}

}  // namespace msg_consumer::service::emulator
