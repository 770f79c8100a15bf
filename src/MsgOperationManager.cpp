// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/MsgOperationManager.h>

#include <msg-consumer/ipc/CRequestSync.h>

#include "ManagerFrame.hpp"

namespace msg_consumer {

int MsgOperationManager::showOnDevice(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CRequestSync>(HERE, "CRequestSync::showOnDevice",
                                   [&](IRequestSync& request) { return request.showOnDevice(msgId); });
}

int MsgOperationManager::requestToChangeSmsApplication(bool status) {
  return run_request<CRequestSync>(HERE, "CRequestSync::reqChangeDefaultSmsApplication", [&](IRequestSync& request) {
    return request.reqChangeDefaultSmsApplication(status);
  });
}

}  // namespace msg_consumer
