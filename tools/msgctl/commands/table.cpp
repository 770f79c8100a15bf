// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <map>

#include "msgctl/commands/commands.hpp"

namespace msgctl {

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      {"status", "Tell whether the service can be used, and what the store holds", "msgctl status", configure_status},
      {"send", "Send a text message", "msgctl send --to +15550100 --to +15550101 'On my way'", configure_send},
      {"mms", "Send a multimedia message", "msgctl mms --to +15550100 --file cat.png 'Look at her'", configure_mms},
      {"threads", "List the threads, newest first", "msgctl threads --json", configure_threads},
      {"conversation", "Show the messages of a thread, oldest first", "msgctl conversation 3", configure_conversation},
      {"messages", "List messages, newest first", "msgctl messages --unread --keyword invoice --limit 20",
       configure_messages},
      {"show", "Show everything about one message", "msgctl show 12", configure_show},
      {"read", "Mark messages as read", "msgctl read 12 13",
       CommandById{"message", "mark as read", "marked as read", msg_consumer_read_message}},
      {"delete", "Delete messages", "msgctl delete 12",
       CommandById{"message", "delete", "deleted", msg_consumer_delete_message}},
      {"resend", "Send failed messages or drafts again", "msgctl resend 12",
       CommandById{"message", "resend", "queued again", msg_consumer_resend_message}},
      {"restore", "Take messages out of the blocked ones", "msgctl restore 12",
       CommandById{"message", "restore", "restored", msg_consumer_restore_block_message}},
      {"export-to-phone", "Have the phone store messages", "msgctl export-to-phone 12",
       CommandById{"message", "export", "handed to the phone", msg_consumer_store_message}},
      {"retrieve", "Fetch the content of MMS that were only notified", "msgctl retrieve 12",
       CommandById{"message", "retrieve", "being retrieved", msg_consumer_update_retrieve_mms_message}},
      {"show-on-device", "Have the device show messages", "msgctl show-on-device 12",
       CommandById{"message", "show", "shown on the device", msg_consumer_send_show_on_device}},
      {"addresses", "List the participants of a thread", "msgctl addresses 3", configure_addresses},
      {"find-thread", "Print the id of the thread with one participant", "msgctl find-thread +15550100",
       configure_find_thread},
      {"thread read", "Mark all messages of threads as read", "msgctl thread read 3",
       CommandById{"thread", "mark as read", "marked as read", msg_consumer_read_thread_message}},
      {"thread delete", "Delete threads with their messages: all of them or none", "msgctl thread delete 3 4",
       configure_thread_delete},
      {"thread active", "Tell which thread is being looked at", "msgctl thread active 3", configure_thread_active},
      {"thread refresh", "Refresh the participants of group chats", "msgctl thread refresh 3",
       CommandById{"thread", "refresh", "being refreshed", msg_consumer_update_group_chat_address}},
      {"content get", "Write the file of a message to a new file", "msgctl content get 12 cat.png",
       configure_content_get},
      {"content send", "Add a file to a message", "msgctl content send 12 cat.png", configure_content_send},
      {"request-default-sms", "Ask to become the default SMS application", "msgctl request-default-sms",
       configure_request_default_sms},
      {"nms add", "Add a message that came from the network store, as 'show --json' prints it",
       "msgctl show 12 --json | msgctl nms add -", configure_nms_add},
      {"nms read", "Mark messages as read", "msgctl nms read 12 13",
       CommandById{"message", "mark as read", "marked as read", msg_consumer_nms_read_message}},
      {"nms status", "Show a message's sub-type and network status", "msgctl nms status 12", configure_nms_status},
      {"nms set-status", "Set a message's network status", "msgctl nms set-status 12 2", configure_nms_set_status},
      {"nms delete", "Delete messages", "msgctl nms delete 12",
       CommandById{"message", "delete", "deleted", msg_consumer_nms_delete_message}},
      {"nms delete-before", "Delete all unlocked messages older than a time", "msgctl nms delete-before 2026-03-01",
       configure_nms_delete_before},
      {"nms send", "Send a text message", "msgctl nms send --to +15550100 'On my way'", configure_nms_send},
      {"nms mms", "Send a multimedia message", "msgctl nms mms --to +15550100 --file cat.png 'Look at her'",
       configure_nms_mms},
      {"nms resend", "Send failed messages or drafts again", "msgctl nms resend 12",
       CommandById{"message", "resend", "queued again", msg_consumer_nms_resend_message}},
      {"nms download", "Fetch the content of MMS", "msgctl nms download 12",
       CommandById{"message", "download", "being downloaded", msg_consumer_nms_download_mms}},
      {"nms download-required", "Tell whether any message still needs a download", "msgctl nms download-required",
       configure_nms_download_required},
      {"nms reset-box", "Drop all metadata and the subscription; messages stay", "msgctl nms reset-box --yes",
       configure_nms_reset_box},
      {"nms delay-events", "Set the preference that asks for delayed notification events", "msgctl nms delay-events 1",
       configure_nms_delay_events},
      {"nms meta add", "Add the metadata of a message, as 'nms meta show --json' prints it",
       "msgctl nms meta add metadata.json", configure_nms_meta_add},
      {"nms meta update", "Replace metadata", "msgctl nms meta update --message 12 metadata.json",
       configure_nms_meta_update},
      {"nms meta delete", "Delete metadata", "msgctl nms meta delete --object a1b2", configure_nms_meta_delete},
      {"nms meta delete-invalid", "Delete metadata whose message is gone, or which belongs to nothing",
       "msgctl nms meta delete-invalid", configure_nms_meta_delete_invalid},
      {"nms meta show", "Show metadata", "msgctl nms meta show --message 12", configure_nms_meta_show},
      {"nms meta uncorrelated", "List metadata that is not correlated with a message",
       "msgctl nms meta uncorrelated --id abc --match prefix", configure_nms_meta_uncorrelated},
      {"nms meta sync-required", "List metadata that still needs a sync", "msgctl nms meta sync-required",
       configure_nms_meta_sync_required},
      {"nms meta download-required", "List metadata whose message still needs a download",
       "msgctl nms meta download-required", configure_nms_meta_download_required},
      {"nms subscription show", "Show up to where notifications were taken", "msgctl nms subscription show",
       configure_nms_subscription_show},
      {"nms subscription set", "Store up to where notifications were taken", "msgctl nms subscription set 4711 token",
       configure_nms_subscription_set},
      {"watch", "Print the changes as they happen", "msgctl watch --count 3 --timeout 10", configure_watch},
  };
  return table;
}

std::string group_summary(const std::string& name) {
  static const std::map<std::string, std::string> summaries = {
      {"thread", "Commands for whole threads"},
      {"content", "Commands for the files of messages"},
      {"nms", "Commands on behalf of the network message store"},
      {"nms meta", "Commands for the metadata of the network message store"},
      {"nms subscription", "Commands for the subscription to the network message store"},
  };
  const auto found = summaries.find(name);
  return found != summaries.end() ? found->second : "";
}

}  // namespace msgctl
