// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/CMessageSync.h>

#include "Request.hpp"

namespace msg_consumer {

IMessageSync::~IMessageSync() = default;
CMessageSync::~CMessageSync() = default;

int CMessageSync::readMessage(int msgId, bool isNmsMessage) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::READ_MESSAGE, nullptr, msgId, int{isNmsMessage});
}

int CMessageSync::deleteMessage(int msgId, bool isNmsMessage) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::DELETE_MESSAGE, nullptr, msgId, int{isNmsMessage});
}

int CMessageSync::addMessage(const std::string& msgType, int threadId, const std::string& recipient,
                             const std::string& text, const std::string& filepath, int simIndex, int* msgId) {
  LOG_WARNING(HERE, "threadId:(%d), msgType:(%s), simIndex:(%d)", threadId, msgType.c_str(), simIndex);
  return request(HERE, MsgIPC::ADD_MESSAGE, msgId, msgType, threadId, recipient, text, filepath, simIndex);
}

int CMessageSync::sendMessage(const std::string& msgType, int threadId, const std::string& recipient,
                              const std::string& text, const std::string& filepath, int simIndex, int* msgId) {
  LOG_WARNING(HERE, "threadId:(%d), msgType:(%s), simIndex:(%d)", threadId, msgType.c_str(), simIndex);
  return request(HERE, MsgIPC::SEND_MESSAGE, msgId, msgType, threadId, recipient, text, filepath, simIndex);
}

int CMessageSync::resendMessage(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::RESEND_MESSAGE, nullptr, msgId);
}

int CMessageSync::restoreBlockMessage(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::RESTORE_BLOCK_MESSAGE, nullptr, msgId);
}

int CMessageSync::exportToPhoneMessage(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::EXPORT_TO_PHONE, nullptr, msgId);
}

int CMessageSync::updateRetrieveMMSMessage(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return request(HERE, MsgIPC::UPDATE_RETRIEVE_MMS_MESSAGE, nullptr, msgId);
}

}  // namespace msg_consumer
