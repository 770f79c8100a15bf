// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/NmsManager.h>

#include <msg-consumer-common/common_util.h>
#include <msg-consumer/ipc/CNmsSync.h>

#include "Gates.hpp"
#include "ManagerFrame.hpp"

namespace msg_consumer {

namespace {

constexpr MmsRefusal MMS_REFUSAL = {"preference_get_boolean", "[ERROR] Sending mms is not supported!", RESULT_FAILED,
                                    RESULT_MMS_NOT_SUPPORTED};

}  // namespace

int NmsManager::sendSMS(int threadId, const std::string& recipient, const std::string& text, int& msgId) {
  if (!has_numbersync(HERE)) return RESULT_NOT_SUPPORTED;
  if (recipient.empty()) return refuse(HERE, "[ERROR] Invalid parameter: recipient is empty!");
  if (text.empty()) return refuse(HERE, "[ERROR] Invalid parameters: text is empty!");
  return run_request<CNmsSync>(HERE, "INmsSync::sendMessage", [&](INmsSync& request) {
    return request.sendMessage("sms", threadId, recipient, text, "", &msgId);
  });
}

int NmsManager::sendMMS(int threadId, const std::string& recipient, const std::string& text,
                        const std::string& filepath, int& msgId) {
  if (!has_numbersync(HERE)) return RESULT_NOT_SUPPORTED;
  if (recipient.empty()) return refuse(HERE, "[ERROR] Invalid parameter: recipient is empty!");
  if (text.empty() && filepath.empty()) {
    return refuse(HERE, "[ERROR] Invalid parameters: text & filepath are empty!");
  }
  if (!common_util::is_wpc_mode()) {
    if (const int result = check_mms(HERE, MMS_REFUSAL); result != RESULT_OK) return result;
  }
  return run_request<CNmsSync>(HERE, "INmsSync::sendMessage", [&](INmsSync& request) {
    return request.sendMessage("mms", threadId, recipient, text, filepath, &msgId);
  });
}

}  // namespace msg_consumer
