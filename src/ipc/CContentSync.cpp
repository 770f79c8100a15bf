// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/CContentSync.h>

#include "Request.hpp"

namespace msg_consumer {

IContentSync::~IContentSync() = default;
CContentSync::~CContentSync() = default;

int CContentSync::getContentFile(int msgId, const std::string& fileName) {
  LOG_WARNING(HERE, "msgId:(%d), fileName:(%s)", msgId, fileName.c_str());
  return request(HERE, MsgIPC::GET_CONTENT_FILE, nullptr, msgId, fileName);
}

int CContentSync::sendContentFile(int msgId, const std::string& fileName) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::SEND_CONTENT_FILE, nullptr, msgId, fileName);
}

}  // namespace msg_consumer
