// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_IREQUESTSYNC_H
#define MSG_CONSUMER_IPC_IREQUESTSYNC_H

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Requests about the paired device. What is common to all request interfaces is said at `IMessageSync`.
class IRequestSync {
 public:
  virtual ~IRequestSync();

  /// Shows a message on the device.
  virtual int showOnDevice(int msgId) = 0;
  /// Asks for the default SMS application to be changed.
  virtual int reqChangeDefaultSmsApplication(bool status) = 0;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
