// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/CRequestSync.h>

#include "Request.hpp"

namespace msg_consumer {

IRequestSync::~IRequestSync() = default;
CRequestSync::~CRequestSync() = default;

int CRequestSync::showOnDevice(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::SHOW_ON_DEVICE, nullptr, msgId);
}

int CRequestSync::reqChangeDefaultSmsApplication(bool status) {
  LOG_WARNING(HERE, "status: (%d)", status);
  return request(HERE, MsgIPC::SEND_CHANGE_SMS_APPLICATION_REQUEST, nullptr, status);
}

}  // namespace msg_consumer
