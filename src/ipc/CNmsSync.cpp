// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ipc/CNmsSync.h>

#include "Request.hpp"

namespace msg_consumer {

namespace {

/// The look-ups fail in other words here than in the other families.
constexpr LookupTexts NMS_LOOKUP = {"[ERROR] IPCProxy::getCmdString() failed!",
                                    "[ERROR] IPCProxy::getCmdStruct() failed!"};

template <typename... Values>
int nms_request(const CallSite& site, MsgIPC::IpcCommand command, int* out, const Values&... values) {
  return request_built(site, NMS_LOOKUP, command, out,
                       [&](const std::string& format) { return pack(format, values...); });
}

/// A serialised record as a value of type "(ay)" made directly over the caller's buffer: a tuple of one byte array has
/// the array's own bytes. Null for a buffer that cannot be.
Variant wrap(const char* data, int size) {
  if (data == nullptr || size < 0) return nullptr;
  return own(g_variant_new_from_data(G_VARIANT_TYPE("(ay)"), data, static_cast<gsize>(size), TRUE, nullptr, nullptr));
}

}  // namespace

INmsSync::~INmsSync() = default;
CNmsSync::~CNmsSync() = default;

int CNmsSync::addMessage(const char* data, int size) {
  LOG_WARNING(HERE, "size:(%d)", size);
  return nms_request(HERE, MsgIPC::NMS_ADD_MESSAGE, nullptr, wrap(data, size), size);
}

// The one operation without a trace.
int CNmsSync::deleteMessagesByTime(int time) {
  return nms_request(HERE, MsgIPC::NMS_DELETE_MESSAGE_BY_TIME, nullptr, time);
}

int CNmsSync::sendMessage(const std::string& msgType, int threadId, const std::string& recipient,
                          const std::string& text, const std::string& filepath, int* msgId) {
  LOG_WARNING(HERE, "threadId:(%d), msgType:(%s)", threadId, msgType.c_str());
  return nms_request(HERE, MsgIPC::NMS_SEND_MESSAGE, msgId, msgType, threadId, recipient, text, filepath);
}

int CNmsSync::resendMessage(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return nms_request(HERE, MsgIPC::NMS_RESEND_MESSAGE, nullptr, msgId);
}

int CNmsSync::addNmsMsgMeta(const char* data, int size) {
  LOG_WARNING(HERE, "size:(%d)", size);
  return nms_request(HERE, MsgIPC::NMS_ADD_MSG_META, nullptr, wrap(data, size), size);
}

int CNmsSync::updateNmsMsgMeta(int msgId, const std::string& objectId, const char* data, int size) {
  LOG_WARNING(HERE, "msgId:(%d), objectId:(%s), size:(%d)", msgId, objectId.c_str(), size);
  return nms_request(HERE, MsgIPC::NMS_UPDATE_MSG_META, nullptr, msgId, objectId, wrap(data, size), size);
}

int CNmsSync::deleteNmsMsgMeta(int msgId, const std::string& objectId) {
  LOG_WARNING(HERE, "msgId:(%d), objectId:(%s)", msgId, objectId.c_str());
  return nms_request(HERE, MsgIPC::NMS_DELETE_MSG_META, nullptr, msgId, objectId);
}

int CNmsSync::deleteInvalidNmsMsgMetas() {
  LOG_WARNING(HERE, "");
  return request_without_body(HERE, NMS_LOOKUP, MsgIPC::NMS_DELETE_INVALID_MSG_META);
}

int CNmsSync::handleResetBox() {
  LOG_WARNING(HERE, "");
  return request_without_body(HERE, NMS_LOOKUP, MsgIPC::NMS_HANDLE_RESETBOX);
}

int CNmsSync::downloadMms(int msgId) {
  LOG_WARNING(HERE, "msgId:(%d)", msgId);
  return nms_request(HERE, MsgIPC::NMS_DOWNLOAD_MMS, nullptr, msgId);
}

int CNmsSync::updateNetworkStatus(int msgId, int networkStatus) {
  LOG_WARNING(HERE, "msgId:(%d), networkStatus:(%d)", msgId, networkStatus);
  return nms_request(HERE, MsgIPC::NMS_UPDATE_MESSAGE_NETWORK_STATUS, nullptr, msgId, networkStatus);
}

int CNmsSync::updateSubscriptionInfo(unsigned long long notiIndex, const std::string& restartToken) {
  LOG_WARNING(HERE, "notiIndex:(%llu)", notiIndex);
  return nms_request(HERE, MsgIPC::NMS_UPDATE_SUBSCRIPTION_INFO, nullptr, notiIndex, restartToken);
}

}  // namespace msg_consumer
