// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer-common/ipc-commands.h>

#include <array>
#include <climits>

#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

struct Command {
  const char* name;
  const char* format;
};

// By command number.
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

MsgIPC::IpcCommand command(int number) { return static_cast<MsgIPC::IpcCommand>(number); }

void look_at_names(Findings& findings) {
  const MsgIPC catalogue;
  for (std::size_t i = 0; i < COMMANDS.size(); ++i) {
    findings.equal("command " + std::to_string(i), COMMANDS[i].name,
                   catalogue.getCmdString(command(static_cast<int>(i))));
  }
}

void look_at_formats(Findings& findings) {
  const MsgIPC catalogue;
  for (std::size_t i = 0; i < COMMANDS.size(); ++i) {
    findings.equal("command " + std::to_string(i), COMMANDS[i].format,
                   catalogue.getCmdStruct(command(static_cast<int>(i))));
  }
}

void look_outside(Findings& findings) {
  const MsgIPC catalogue;
  for (const int number : {-1, 29, 30, INT_MAX, INT_MIN}) {
    const std::string which = " of command " + std::to_string(number);
    findings.equal("the name" + which, "", catalogue.getCmdString(command(number)));
    findings.equal("the format" + which, "", catalogue.getCmdStruct(command(number)));
  }
}

// The lists stand in an order of their own: what belongs together there must belong together in the catalogue.
void look_at_lists(Findings& findings) {
  const MsgIPC catalogue;
  for (std::size_t place = 0; place < IPC_COMMAND_NAMES.size(); ++place) {
    const std::string name(IPC_COMMAND_NAMES.at(place));
    bool found = false;
    for (int number = 0; number < static_cast<int>(COMMANDS.size()); ++number) {
      if (catalogue.getCmdString(command(number)) != name) continue;
      found = true;
      findings.equal("the format of " + name, IPC_COMMAND_FORMATS.at(place), catalogue.getCmdStruct(command(number)));
    }
    findings.expect(found, "no command has the name " + name);
  }
}

}  // namespace

Sentences catalogue_sentences() {
  return {{"catalogue", "each command has its method's name", "", look_at_names},
          {"catalogue", "each command has its arguments' format", "", look_at_formats},
          {"catalogue", "a number without a command has neither name nor format", "", look_outside},
          {"catalogue", "the lists of names and formats agree with it", "", look_at_lists}};
}

}  // namespace msg_consumer::conformance
