// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/MessageManager.h>

#include <msg-consumer-common/db.h>
#include <msg-consumer/ipc/CMessageSync.h>

#include "ManagerFrame.hpp"

namespace msg_consumer {

namespace {

constexpr const char* NO_RECORDS = "No records";

}  // namespace

int MessageManager::getMessage(int msgId, Message& message) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return record_result(HERE, "db_get_message", db::db_get_message(msgId, message), "msgId", msgId);
}

int MessageManager::getMessages(const ListCondition& condition, std::vector<Message>& list) {
  return list_result(HERE, "db_get_message_list", db::db_get_message_list(condition, list), NO_RECORDS);
}

int MessageManager::getConversation(int msgId, Conversation& conversation) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return record_result(HERE, "db_get_conversation", db::db_get_conversation(msgId, conversation), "msgId", msgId);
}

int MessageManager::getConversations(int threadId, std::vector<Conversation>& list) {
  if (threadId < 1) return refuse_id(HERE, "threadId", threadId);
  return list_result(HERE, "db_get_conversations", db::db_get_conversations(threadId, list), NO_RECORDS);
}

int MessageManager::getFTSendingStatus(int msgId, Content::Status& status) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  Content content;
  const int result = db::db_get_sending_msg_content_info(msgId, content);
  if (result == RESULT_OK) status = content.status;
  return list_result(HERE, "db_get_sending_msg_content_info", result, NO_RECORDS);
}

int MessageManager::readMessage(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::readMessage",
                                   [&](IMessageSync& request) { return request.readMessage(msgId, false); });
}

int MessageManager::deleteMessage(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::deleteMessage",
                                   [&](IMessageSync& request) { return request.deleteMessage(msgId, false); });
}

int MessageManager::addMessage(const std::string& msgType, int threadId, const std::string& recipient,
                               const std::string& text, const std::string& filepath, int simIndex, int& msgId) {
  if (recipient.empty()) return refuse(HERE, "[ERROR] Invalid parameter: recipient!");
  if (msgType != "sms" && msgType != "mms") {
    LOG_ERROR(HERE, "[ERROR] Invalid parameter: msgType[%s]!", msgType.c_str());
    return RESULT_INVALID_ARGUMENT;
  }
  return run_request<CMessageSync>(HERE, "CMessageSync::addMessage", [&](IMessageSync& request) {
    return request.addMessage(msgType, threadId, recipient, text, filepath, simIndex, &msgId);
  });
}

int MessageManager::sendSMS(int threadId, const std::string& recipient, const std::string& text, int simIndex,
                            int& msgId) {
  if (recipient.empty()) return refuse(HERE, "[ERROR] Invalid parameter: recipient!");
  return run_request<CMessageSync>(HERE, "CMessageSync::sendMessage", [&](IMessageSync& request) {
    return request.sendMessage("sms", threadId, recipient, text, "", simIndex, &msgId);
  });
}

int MessageManager::sendMMS(int threadId, const std::string& recipient, const std::string& text,
                            const std::string& filepath, int simIndex, int& msgId) {
  if (recipient.empty()) return refuse(HERE, "[ERROR] Invalid parameter: recipient!");
  return run_request<CMessageSync>(HERE, "CMessageSync::sendMessage", [&](IMessageSync& request) {
    return request.sendMessage("mms", threadId, recipient, text, filepath, simIndex, &msgId);
  });
}

int MessageManager::resendMessage(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::resendMessage",
                                   [&](IMessageSync& request) { return request.resendMessage(msgId); });
}

int MessageManager::updateMMSRetrieveStatus(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::updateRetrieveMMSMessage",
                                   [&](IMessageSync& request) { return request.updateRetrieveMMSMessage(msgId); });
}

int MessageManager::restoreBlockedMessage(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::restoreBlockMessage",
                                   [&](IMessageSync& request) { return request.restoreBlockMessage(msgId); });
}

int MessageManager::exportMessageToPhone(int msgId) {
  if (msgId < 1) return refuse_id(HERE, "msgId", msgId);
  return run_request<CMessageSync>(HERE, "CMessageSync::exportToPhoneMessage",
                                   [&](IMessageSync& request) { return request.exportToPhoneMessage(msgId); });
}

}  // namespace msg_consumer
