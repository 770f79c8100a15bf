// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_MSGIPC_H
#define MSG_CONSUMER_COMMON_MSGIPC_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// The catalogue of the service's commands: D-Bus method name and argument format by command number. Lookups go by
/// command; the lists of `ipc-commands.h` stand in another order.
class MsgIPC {
 public:
  /// The commands. Their numbers are part of the interface.
  enum IpcCommand : int {
    READ_MESSAGE = 0,
    READ_THREAD = 1,
    DELETE_MESSAGE = 2,
    DELETE_THREAD = 3,
    DELETE_THREADS = 4,
    SET_ACTIVE_THREAD_ID = 5,
    SEND_CHANGE_SMS_APPLICATION_REQUEST = 6,
    ADD_MESSAGE = 7,
    SEND_MESSAGE = 8,
    RESEND_MESSAGE = 9,
    SHOW_ON_DEVICE = 10,
    GET_CONTENT_FILE = 11,
    SEND_CONTENT_FILE = 12,
    RESTORE_BLOCK_MESSAGE = 13,
    UPDATE_GROUP_CHAT_ADDRESS = 14,
    EXPORT_TO_PHONE = 15,
    UPDATE_RETRIEVE_MMS_MESSAGE = 16,
    NMS_ADD_MESSAGE = 17,
    NMS_DELETE_MESSAGE_BY_TIME = 18,
    NMS_SEND_MESSAGE = 19,
    NMS_RESEND_MESSAGE = 20,
    NMS_ADD_MSG_META = 21,
    NMS_UPDATE_MSG_META = 22,
    NMS_DELETE_MSG_META = 23,
    NMS_DELETE_INVALID_MSG_META = 24,
    NMS_HANDLE_RESETBOX = 25,
    NMS_DOWNLOAD_MMS = 26,
    NMS_UPDATE_MESSAGE_NETWORK_STATUS = 27,
    NMS_UPDATE_SUBSCRIPTION_INFO = 28,
  };

  MsgIPC();
  ~MsgIPC();

  /// The command's D-Bus method name, empty for a number outside the catalogue.
  std::string getCmdString(IpcCommand command) const;

  /// The GVariant format of the command's argument tuple, empty for a number outside the catalogue.
  std::string getCmdStruct(IpcCommand command) const;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
