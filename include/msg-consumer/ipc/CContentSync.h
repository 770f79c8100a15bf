// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_CCONTENTSYNC_H
#define MSG_CONSUMER_IPC_CCONTENTSYNC_H

#include <msg-consumer/ipc/IContentSync.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// `IContentSync` over `IPCProxy`: stateless, made for one call and destroyed after it.
class CContentSync : public IContentSync {
 public:
  CContentSync() = default;
  ~CContentSync() override;

  int getContentFile(int msgId, const std::string& fileName) override;
  int sendContentFile(int msgId, const std::string& fileName) override;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
