// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_INMSSYNC_H
#define MSG_CONSUMER_IPC_INMSSYNC_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Changes on behalf of the network message store. What is common to all request interfaces is said at
/// `IMessageSync`. Serialised records come from `msg_serialize_message` and `msg_serialize_nms_msg_meta`; the
/// buffer is not copied and stays the caller's.
class INmsSync {
 public:
  virtual ~INmsSync();

  /// Adds a serialised message.
  virtual int addMessage(const char* data, int size) = 0;
  /// Deletes the unlocked messages older than `time`, in seconds since 1970.
  virtual int deleteMessagesByTime(int time) = 0;
  /// Queues a message for sending. `*msgId` receives its id whenever the service replies, whatever the status.
  virtual int sendMessage(const std::string& msgType, int threadId, const std::string& recipient,
                          const std::string& text, const std::string& filepath, int* msgId) = 0;
  /// Sends a failed message again, or a draft.
  virtual int resendMessage(int msgId) = 0;
  /// Adds serialised metadata of a message.
  virtual int addNmsMsgMeta(const char* data, int size) = 0;
  /// Replaces the metadata of a message by serialised metadata.
  virtual int updateNmsMsgMeta(int msgId, const std::string& objectId, const char* data, int size) = 0;
  /// Deletes the metadata of a message.
  virtual int deleteNmsMsgMeta(int msgId, const std::string& objectId) = 0;
  /// Deletes metadata whose message is gone, or which has neither message nor object.
  virtual int deleteInvalidNmsMsgMetas() = 0;
  /// Drops all metadata and the subscription after a reset of the network mailbox; messages stay.
  virtual int handleResetBox() = 0;
  /// Starts fetching the content of an MMS.
  virtual int downloadMms(int msgId) = 0;
  /// Sets a message's network status.
  virtual int updateNetworkStatus(int msgId, int networkStatus) = 0;
  /// Stores the subscription's notification index and restart token.
  virtual int updateSubscriptionInfo(unsigned long long notiIndex, const std::string& restartToken) = 0;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
