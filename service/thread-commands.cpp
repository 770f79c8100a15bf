// SPDX-License-Identifier: Apache-2.0
#include <set>
#include <span>

#include "commands.hpp"

namespace msg_consumer::service {

Outcome Commands::read_thread(int thread_id) {
  return guarded([&] {
    return _store.commit([&]() -> std::optional<Change> {
      const ThreadInfo thread = _store.threads().get(thread_id);
      std::vector<int> message_ids = _store.messages().mark_thread_read(thread.id);
      if (message_ids.empty()) {
        return std::nullopt;
      }
      return Change{.message_ids = std::move(message_ids), .thread_ids = {thread.id}};
    });
  });
}

Outcome Commands::delete_thread(int thread_id) { return delete_each({&thread_id, 1}); }

Outcome Commands::delete_each(std::span<const int> thread_ids) {
  return delete_messages([&]() -> std::optional<Change> {
    require(!thread_ids.empty(), STATUS_INVALID_ARGUMENT);
    Change change{.event = "deleted"};
    for (const int thread_id : std::set<int>(thread_ids.begin(), thread_ids.end())) {
      const Messages::Removed removed = _store.messages().remove_unlocked(_store.threads().get(thread_id).id);
      if (removed.thread_is_gone || !removed.message_ids.empty()) {
        change.thread_ids.push_back(thread_id);
        change.message_ids.insert(change.message_ids.end(), removed.message_ids.begin(), removed.message_ids.end());
      }
    }
    if (change.thread_ids.empty()) {
      return std::nullopt;
    }
    return change;
  });
}

Outcome Commands::set_active_thread_id(int thread_id) {
  return guarded([&]() -> std::optional<Announcement> {
    _inbox.set_active_thread(thread_id > 0 ? _store.threads().get(thread_id).id : 0);
    return std::nullopt;
  });
}

Outcome Commands::update_group_chat_address(int thread_id) {
  return guarded([&] {
    return _store.commit([&]() -> std::optional<Change> {
      if (!_store.threads().get(thread_id).is_group) {
        throw Refusal(STATUS_NOT_APPLICABLE);
      }
      return Change{.signal = GROUPCHAT_STATE_CHANGED, .thread_ids = {thread_id}};
    });
  });
}

}  // namespace msg_consumer::service
