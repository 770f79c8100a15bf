// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_IPC_COMMANDS_H
#define MSG_CONSUMER_COMMON_IPC_COMMANDS_H

// The service's methods by name, and their argument formats, position by position. The order is historical and is
// not that of `MsgIPC::IpcCommand`: look a command up with `MsgIPC`, never by its position here.

#include <array>
#include <string_view>

namespace msg_consumer {

inline constexpr std::array<std::string_view, 29> IPC_COMMAND_NAMES = {
    "read_message",
    "read_thread",
    "delete_message",
    "delete_thread",
    "delete_threads",
    "show_on_device",
    "set_active_thread_id",
    "send_change_sms_application_request",
    "add_message",
    "send_message",
    "resend_message",
    "get_content_file",
    "send_content_file",
    "restore_block_message",
    "update_group_chat_address",
    "export_to_phone",
    "update_retrieve_mms_message",
    "nms_add_message",
    "nms_delete_message_by_time",
    "nms_send_message",
    "nms_resend_message",
    "nms_add_msg_meta",
    "nms_update_msg_meta",
    "nms_delete_msg_meta",
    "nms_delete_invalid_msg_meta",
    "nms_handle_resetbox",
    "nms_download_mms",
    "nms_update_message_network_status",
    "nms_update_subscription_info",
};

inline constexpr std::array<std::string_view, 29> IPC_COMMAND_FORMATS = {
    "(ii)", "(i)",  "(ii)",   "(i)",  "(v)", "(i)", "(i)", "(b)",  "(sisssi)", "(sisssi)",
    "(i)",  "(is)", "(is)",   "(i)",  "(i)", "(i)", "(i)", "(vi)", "(i)",      "(sisss)",
    "(i)",  "(vi)", "(isvi)", "(is)", "()",  "()",  "(i)", "(ii)", "(ts)",
};

}  // namespace msg_consumer

#endif
