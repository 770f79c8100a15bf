// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ContentManager.h>

#include <msg-consumer/ipc/CContentSync.h>

#include "ManagerFrame.hpp"

namespace msg_consumer {

int ContentManager::downloadContentFile(int msgId, const std::string& peerFilepath) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  if (peerFilepath.empty()) return refuse(HERE, "[ERROR] Invalid parameter: peerFilepath");
  return run_request<CContentSync>(HERE, "CContentSync::getContentFile",
                                   [&](IContentSync& request) { return request.getContentFile(msgId, peerFilepath); });
}

}  // namespace msg_consumer
