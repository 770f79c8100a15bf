// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_COMMANDS_HPP
#define MSG_CONSUMER_SERVICE_COMMANDS_HPP

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "change.hpp"
#include "clock.hpp"
#include "content-files.hpp"
#include "inbox.hpp"
#include "network.hpp"
#include "nms-record.hpp"
#include "phone.hpp"
#include "status.hpp"
#include "store-writer.hpp"

namespace msg_consumer::service {

/// What became of a command: its status, and the change that is to be announced once the caller has its answer.
struct Outcome {
  Status status = STATUS_OK;
  std::optional<Announcement> announcement = {};
};

/// As `Outcome`, for the commands that make a message; its id is 0 when they are refused.
struct Creation {
  Outcome outcome;
  int message_id = 0;
};

/// A message that an application hands in.
struct Submission {
  std::string_view type;        ///< "sms" or "mms"
  int thread_id;                ///< 0 or less: the thread of the recipients
  std::string_view recipients;  ///< separated by ';'
  std::string_view text;
  std::string_view file_paths;  ///< of attachments, separated by ';'; an SMS has none
  int sim_index;
};

/// The service's commands. Each runs whole or not at all, is on the disk when it returns, and answers a refusal or a
/// failure with its status: none throws.
class Commands {
 public:
  Commands(StoreWriter& store, ContentFiles& files, Inbox& inbox, Network& network, Phone& phone, const Clock& clock);

  // message-commands.cpp
  Outcome read_message(int message_id, int is_nms);
  Outcome delete_message(int message_id, int is_nms);
  /// Stores a draft.
  Creation add_message(const Submission& submission);
  Creation send_message(const Submission& submission);
  /// Sends a draft, or a message that failed.
  Outcome resend_message(int message_id);
  Outcome restore_block_message(int message_id);
  Outcome export_to_phone(int message_id);
  Outcome update_retrieve_mms_message(int message_id);

  // thread-commands.cpp
  Outcome read_thread(int thread_id);
  Outcome delete_thread(int thread_id);
  /// All of them or, when one is unknown, none. Locked messages stay, and so do their threads.
  Outcome delete_threads(const std::vector<int>& thread_ids) { return delete_each(thread_ids); }
  Outcome set_active_thread_id(int thread_id);
  Outcome update_group_chat_address(int thread_id);

  // content-commands.cpp
  /// Copies the message's first attachment to a new file.
  Outcome get_content_file(int message_id, std::string_view path);
  /// Attaches a file to a draft or an outgoing message.
  Outcome send_content_file(int message_id, std::string_view path);

  // device-commands.cpp
  Outcome show_on_device(int message_id);
  Outcome send_change_sms_application_request(bool status);

  // nms-commands.cpp, the commands of the network message store
  /// Stores a message as its record says, under ids of its own.
  Outcome nms_add_message(const SerializedRecord& record);
  /// Deletes what is older than a time in seconds and not locked.
  Outcome nms_delete_message_by_time(int time);
  /// As `send_message`, through the first SIM.
  Creation nms_send_message(std::string_view type, int thread_id, std::string_view recipients, std::string_view text,
                            std::string_view file_paths);
  Outcome nms_update_message_network_status(int message_id, int network_status);
  /// Adds metadata, or replaces that with the same message id and object id.
  Outcome nms_add_msg_meta(const SerializedRecord& record);
  /// Replaces the metadata with these ids, of which an id below 1 and an empty object id stand for any. The record may
  /// tie it to another message or object; ids that it leaves out stay.
  Outcome nms_update_msg_meta(int message_id, std::string_view object_id, const SerializedRecord& record);
  Outcome nms_delete_msg_meta(int message_id, std::string_view object_id);
  /// Removes the metadata whose message is gone.
  Outcome nms_delete_invalid_msg_meta();
  /// Forgets all metadata and the subscription; the messages stay.
  Outcome nms_handle_resetbox();
  Outcome nms_update_subscription_info(std::uint64_t notification_index, std::string_view restart_token);

 private:
  /// The messages that a change concerns; nothing when nothing was changed.
  using ChangedMessages = std::optional<std::set<int>>;

  /// The door behind which exceptions end.
  template <typename Work>
  static Outcome guarded(Work&& work) noexcept {
    try {
      return {.announcement = work()};
    } catch (...) {
      return {.status = status_of_current_exception()};
    }
  }

  // These take functions as they are: a std::function may need memory, which is then missing before the door.

  /// Stores what `edit` makes of a message; `edit` returns whether it made a change, or throws a refusal.
  template <typename Edit>
  Outcome edit_message(int message_id, Edit&& edit) noexcept {
    return guarded([&] {
      return _store.commit([&]() -> std::optional<Change> {
        StoredMessage stored = _store.messages().get(message_id);
        const Message before = stored.message;
        if (!edit(stored.message)) {
          return std::nullopt;
        }
        _store.messages().update(before, stored);
        return Change{.message_ids = {message_id}, .thread_ids = {before.num_b}};
      });
    });
  }

  /// Deletes what `work` says, and the attachments once that is on the disk.
  template <typename Work>
  Outcome delete_messages(Work&& work) noexcept {
    std::vector<int> message_ids;
    Outcome outcome = guarded([&] {
      return _store.commit([&] {
        std::optional<Change> change = work();
        if (change) {
          message_ids = change->message_ids;
        }
        return change;
      });
    });
    if (outcome.announcement) {
      for (const int message_id : message_ids) {
        _files.remove(message_id);
      }
    }
    return outcome;
  }

  /// Makes a change of the network store's data, which is announced as `event`.
  template <typename Work>
  Outcome change_nms_box(const char* event, Work&& work) noexcept {
    return guarded([&] {
      return _store.commit([&]() -> std::optional<Change> {
        const ChangedMessages ids = work();
        if (!ids) {
          return std::nullopt;
        }
        return Change{.event = event, .message_ids = {ids->begin(), ids->end()}};
      });
    });
  }

  Outcome delete_each(std::span<const int> thread_ids);
  void check_message_of(const NmsMsgMeta& meta);
  Change place(StoredMessage& stored);
  ThreadInfo thread_for(const Message& message);

  Creation submit(const Submission& submission, int direction, int delivery) noexcept;
  Creation store_new(const Submission& submission, int direction, int delivery);
  StoredMessage compose(const Submission& submission, int direction, int delivery);
  ThreadInfo thread_for(const Submission& submission);

  StoreWriter& _store;
  ContentFiles& _files;
  Inbox& _inbox;
  Network& _network;
  Phone& _phone;
  const Clock& _clock;
};

}  // namespace msg_consumer::service

#endif
