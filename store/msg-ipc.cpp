// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/MsgIPC.h>

#include <array>

namespace msg_consumer {
namespace {

struct Command {
  const char* name;
  const char* format;
};

// Indexed by IpcCommand.
constexpr std::array<Command, 29> COMMANDS = {{
    {"read_message", "(ii)"},
    {"read_thread", "(i)"},
    {"delete_message", "(ii)"},
    {"delete_thread", "(i)"},
    {"delete_threads", "(v)"},
    {"set_active_thread_id", "(i)"},
    {"send_change_sms_application_request", "(b)"},
    {"add_message", "(sisssi)"},
    {"send_message", "(sisssi)"},
    {"resend_message", "(i)"},
    {"show_on_device", "(i)"},
    {"get_content_file", "(is)"},
    {"send_content_file", "(is)"},
    {"restore_block_message", "(i)"},
    {"update_group_chat_address", "(i)"},
    {"export_to_phone", "(i)"},
    {"update_retrieve_mms_message", "(i)"},
    {"nms_add_message", "(vi)"},
    {"nms_delete_message_by_time", "(i)"},
    {"nms_send_message", "(sisss)"},
    {"nms_resend_message", "(i)"},
    {"nms_add_msg_meta", "(vi)"},
    {"nms_update_msg_meta", "(isvi)"},
    {"nms_delete_msg_meta", "(is)"},
    {"nms_delete_invalid_msg_meta", "()"},
    {"nms_handle_resetbox", "()"},
    {"nms_download_mms", "(i)"},
    {"nms_update_message_network_status", "(ii)"},
    {"nms_update_subscription_info", "(ts)"},
}};
static_assert(COMMANDS.size() == MsgIPC::NMS_UPDATE_SUBSCRIPTION_INFO + 1);

// A caller may cast any number to IpcCommand.
Command find(int command) {
  const bool known = command >= 0 && static_cast<std::size_t>(command) < COMMANDS.size();
  return known ? COMMANDS.at(static_cast<std::size_t>(command)) : Command{"", ""};
}

}  // namespace

MsgIPC::MsgIPC() = default;
MsgIPC::~MsgIPC() = default;

// Members for the interface's sake: a proxy derives from this class and is asked for its commands.
// NOLINTBEGIN(readability-convert-member-functions-to-static)
std::string MsgIPC::getCmdString(IpcCommand command) const { return find(command).name; }

std::string MsgIPC::getCmdStruct(IpcCommand command) const { return find(command).format; }
// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace msg_consumer
