// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_CREQUESTSYNC_H
#define MSG_CONSUMER_IPC_CREQUESTSYNC_H

#include <msg-consumer/ipc/IRequestSync.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// `IRequestSync` over `IPCProxy`: stateless, made for one call and destroyed after it.
class CRequestSync : public IRequestSync {
 public:
  CRequestSync() = default;
  ~CRequestSync() override;

  int showOnDevice(int msgId) override;
  int reqChangeDefaultSmsApplication(bool status) override;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
