// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_CTHREADSYNC_H
#define MSG_CONSUMER_IPC_CTHREADSYNC_H

#include <msg-consumer/ipc/IThreadSync.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// `IThreadSync` over `IPCProxy`: stateless, made for one call and destroyed after it.
class CThreadSync : public IThreadSync {
 public:
  CThreadSync() = default;
  ~CThreadSync() override;

  int readThread(int threadId) override;
  int deleteThread(int threadId) override;
  int deleteThreads(const std::vector<int>& threadIds) override;
  int setActiveThread(int threadId) override;
  int updateGroupchatThread(int threadId) override;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
