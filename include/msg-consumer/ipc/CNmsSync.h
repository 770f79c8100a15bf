// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_CNMSSYNC_H
#define MSG_CONSUMER_IPC_CNMSSYNC_H

#include <msg-consumer/ipc/INmsSync.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// `INmsSync` over `IPCProxy`: stateless, made for one call and destroyed after it.
class CNmsSync : public INmsSync {
 public:
  CNmsSync() = default;
  ~CNmsSync() override;

  int addMessage(const char* data, int size) override;
  int deleteMessagesByTime(int time) override;
  int sendMessage(const std::string& msgType, int threadId, const std::string& recipient, const std::string& text,
                  const std::string& filepath, int* msgId) override;
  int resendMessage(int msgId) override;
  int addNmsMsgMeta(const char* data, int size) override;
  int updateNmsMsgMeta(int msgId, const std::string& objectId, const char* data, int size) override;
  int deleteNmsMsgMeta(int msgId, const std::string& objectId) override;
  int deleteInvalidNmsMsgMetas() override;
  int handleResetBox() override;
  int downloadMms(int msgId) override;
  int updateNetworkStatus(int msgId, int networkStatus) override;
  int updateSubscriptionInfo(unsigned long long notiIndex, const std::string& restartToken) override;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
