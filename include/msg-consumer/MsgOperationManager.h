// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_MSGOPERATIONMANAGER_H
#define MSG_CONSUMER_MSGOPERATIONMANAGER_H

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Requests about the paired device. What is common to all managers is said at `ConnectionManager`.
class MsgOperationManager {
 public:
  /// Shows a message on the device. -3: the id is below 1.
  int showOnDevice(int msgId);

  /// Asks for this application to become the default SMS application (`status` true), or to stop being it.
  int requestToChangeSmsApplication(bool status);
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
