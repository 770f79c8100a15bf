// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

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
      {"watch", "Print the changes as they happen", "msgctl watch --count 3 --timeout 10", configure_watch},
  };
  return table;
}

}  // namespace msgctl
