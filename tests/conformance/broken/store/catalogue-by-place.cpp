// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer-common/ipc-commands.h>

#include <cstddef>

namespace msg_consumer {

std::string MsgIPC::getCmdString(IpcCommand command) const {
  const auto place = static_cast<std::size_t>(command);
  return place < IPC_COMMAND_NAMES.size() ? std::string(IPC_COMMAND_NAMES.at(place)) : "";
}

}  // namespace msg_consumer
