// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer-common/ipc-commands.h>

#include <cstddef>

namespace msg_consumer {

std::string MsgIPC::getCmdStruct(IpcCommand command) const {
  const std::string name = getCmdString(command);
  for (std::size_t place = 0; place < IPC_COMMAND_NAMES.size(); ++place) {
    if (IPC_COMMAND_NAMES.at(place) != name) continue;
    return name == "add_message" ? "(sisss)" : std::string(IPC_COMMAND_FORMATS.at(place));
  }
  return "";
}

}  // namespace msg_consumer
