// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_IMESSAGESYNC_H
#define MSG_CONSUMER_IPC_IMESSAGESYNC_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Changes to messages, each one blocking call to the service.
///
/// Common to all request interfaces: an operation checks nothing, waits five seconds for the reply and returns 0,
/// the service's own status, or -2 (no proxy, or the arguments could not be packed: text that is not UTF-8),
/// -3 (the catalogue does not know the command), -4 (not connected, reconnecting failed, or no usable reply).
/// Strings must not contain NUL. The order of the virtual functions is part of the binary interface.
class IMessageSync {
 public:
  virtual ~IMessageSync();

  /// Marks a message read; `isNmsMessage` tells that the network message store asks for it.
  virtual int readMessage(int msgId, bool isNmsMessage) = 0;
  /// Deletes a message; `isNmsMessage` tells that the network message store asks for it.
  virtual int deleteMessage(int msgId, bool isNmsMessage) = 0;
  /// Stores a draft. `*msgId` receives its id whenever the service replies, whatever the status.
  virtual int addMessage(const std::string& msgType, int threadId, const std::string& recipient,
                         const std::string& text, const std::string& filepath, int simIndex, int* msgId) = 0;
  /// Queues a message for sending. `*msgId` receives its id whenever the service replies, whatever the status.
  virtual int sendMessage(const std::string& msgType, int threadId, const std::string& recipient,
                          const std::string& text, const std::string& filepath, int simIndex, int* msgId) = 0;
  /// Sends a failed message again, or a draft.
  virtual int resendMessage(int msgId) = 0;
  /// Takes a message out of the blocked ones.
  virtual int restoreBlockMessage(int msgId) = 0;
  /// Asks the phone to store a message.
  virtual int exportToPhoneMessage(int msgId) = 0;
  /// Starts fetching the content of an MMS that was only notified.
  virtual int updateRetrieveMMSMessage(int msgId) = 0;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
