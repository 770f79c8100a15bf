// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_CMESSAGESYNC_H
#define MSG_CONSUMER_IPC_CMESSAGESYNC_H

#include <msg-consumer/ipc/IMessageSync.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// `IMessageSync` over `IPCProxy`: stateless, made for one call and destroyed after it.
class CMessageSync : public IMessageSync {
 public:
  CMessageSync() = default;
  ~CMessageSync() override;

  int readMessage(int msgId, bool isNmsMessage) override;
  int deleteMessage(int msgId, bool isNmsMessage) override;
  int addMessage(const std::string& msgType, int threadId, const std::string& recipient, const std::string& text,
                 const std::string& filepath, int simIndex, int* msgId) override;
  int sendMessage(const std::string& msgType, int threadId, const std::string& recipient, const std::string& text,
                  const std::string& filepath, int simIndex, int* msgId) override;
  int resendMessage(int msgId) override;
  int restoreBlockMessage(int msgId) override;
  int exportToPhoneMessage(int msgId) override;
  int updateRetrieveMMSMessage(int msgId) override;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
