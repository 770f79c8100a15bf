// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "commands.hpp"
#include "record-values.hpp"

namespace msg_consumer::service {
namespace {

bool has_meta(const Message& message) {
  return !message.nms_meta.metaStr1.empty() || !message.nms_meta.metaStr2.empty();
}

/// The messages that a change of metadata concerns: none, one or two.
std::set<int> concerned(int message_id, int other_id = 0) {
  std::set<int> ids = {message_id, other_id};
  ids.erase(0);
  return ids;
}

// What a record does not name it does not take away: an update never unties what another one has tied.
void keep_missing_ids(NmsMsgMeta& meta, const NmsBox::Place& place) {
  if (meta.msgId == 0) {
    meta.msgId = place.message_id;
  }
  if (meta.metaStr1.empty()) {
    meta.metaStr1 = place.object_id;
  }
}

}  // namespace

Outcome Commands::nms_add_message(const SerializedRecord& record) {
  Outcome outcome = guarded([&] {
    StoredMessage stored{.message = message_of(record), .sender_name = ""};
    return _store.commit([&]() -> std::optional<Change> { return place(stored); });
  });
  if (outcome.announcement) {
    // It may be one that is to be sent.
    _network.send_queued();
  }
  return outcome;
}

Change Commands::place(StoredMessage& stored) {
  Message& message = stored.message;
  const ThreadInfo thread = thread_for(message);
  require(thread.is_group || message.num_c != TYPE_GROUP_CHAT, STATUS_INVALID_ARGUMENT);
  message.num_b = thread.id;
  if (thread.is_group) {
    message.num_c = TYPE_GROUP_CHAT;
  }
  if (message.num_e == DIRECTION_INCOMING) {
    _inbox.store(stored);
  } else {
    _store.messages().insert(stored);
  }
  if (has_meta(message)) {
    message.nms_meta.msgId = message.id;
    _store.nms_box().put(message.nms_meta);
  }
  return {.event = "added", .message_ids = {message.id}, .thread_ids = {message.num_b}};
}

ThreadInfo Commands::thread_for(const Message& message) {
  if (message.num_b > 0) {
    return _store.threads().get(message.num_b);
  }
  const std::vector<std::string> participants = correspondents(message);
  return message.num_c == TYPE_GROUP_CHAT ? _store.threads().find_or_make_group(participants)
                                          : _store.threads().find_or_make(participants);
}

Outcome Commands::nms_delete_message_by_time(int time) {
  return delete_messages([&]() -> std::optional<Change> {
    Messages::RemovedByTime removed = _store.messages().remove_older(std::int64_t{1000} * time);
    if (removed.message_ids.empty()) {
      return std::nullopt;
    }
    return Change{
        .event = "deleted", .message_ids = std::move(removed.message_ids), .thread_ids = std::move(removed.thread_ids)};
  });
}

Creation Commands::nms_send_message(std::string_view type, int thread_id, std::string_view recipients,
                                    std::string_view text, std::string_view file_paths) {
  return send_message({.type = type,
                       .thread_id = thread_id,
                       .recipients = recipients,
                       .text = text,
                       .file_paths = file_paths,
                       .sim_index = 0});
}

Outcome Commands::nms_update_message_network_status(int message_id, int network_status) {
  return edit_message(message_id, [&](Message& message) {
    return std::exchange(message.networkStatus, network_status) != network_status;
  });
}

void Commands::check_message_of(const NmsMsgMeta& meta) {
  if (meta.msgId > 0) {
    static_cast<void>(_store.messages().get(meta.msgId));
  }
}

Outcome Commands::nms_add_msg_meta(const SerializedRecord& record) {
  return change_nms_box("meta_changed", [&]() -> ChangedMessages {
    const NmsMsgMeta meta = meta_of(record);
    require(meta.msgId > 0 || !meta.metaStr1.empty(), STATUS_INVALID_ARGUMENT);
    check_message_of(meta);
    return _store.nms_box().put(meta) ? ChangedMessages(concerned(meta.msgId)) : std::nullopt;
  });
}

Outcome Commands::nms_update_msg_meta(int message_id, std::string_view object_id, const SerializedRecord& record) {
  return change_nms_box("meta_changed", [&]() -> ChangedMessages {
    NmsMsgMeta meta = meta_of(record);
    const NmsBox::Place place = _store.nms_box().get(message_id, object_id);
    check_message_of(meta);
    keep_missing_ids(meta, place);
    return _store.nms_box().replace(place, meta) ? ChangedMessages(concerned(place.message_id, meta.msgId))
                                                 : std::nullopt;
  });
}

Outcome Commands::nms_delete_msg_meta(int message_id, std::string_view object_id) {
  return change_nms_box("meta_changed", [&]() -> ChangedMessages {
    const NmsBox::Place place = _store.nms_box().get(message_id, object_id);
    _store.nms_box().remove(place);
    return concerned(place.message_id);
  });
}

Outcome Commands::nms_delete_invalid_msg_meta() {
  return change_nms_box("meta_changed", [&] { return _store.nms_box().remove_invalid(); });
}

Outcome Commands::nms_handle_resetbox() {
  return change_nms_box("reset", [&] { return _store.nms_box().reset(); });
}

Outcome Commands::nms_update_subscription_info(std::uint64_t notification_index, std::string_view restart_token) {
  return change_nms_box("subscription_changed", [&]() -> ChangedMessages {
    return _store.nms_box().subscribe(notification_index, restart_token) ? ChangedMessages(std::in_place)
                                                                         : std::nullopt;
  });
}

}  // namespace msg_consumer::service
