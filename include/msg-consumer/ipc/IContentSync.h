// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_ICONTENTSYNC_H
#define MSG_CONSUMER_IPC_ICONTENTSYNC_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Moving the files of messages. What is common to all request interfaces is said at `IMessageSync`.
class IContentSync {
 public:
  virtual ~IContentSync();

  /// Has the service write a message's file to `fileName`.
  virtual int getContentFile(int msgId, const std::string& fileName) = 0;
  /// Hands the file `fileName` to the service as a part of a message.
  virtual int sendContentFile(int msgId, const std::string& fileName) = 0;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
