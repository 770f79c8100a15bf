// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_NMSMANAGER_H
#define MSG_CONSUMER_NMSMANAGER_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Sending on behalf of the network message store. What is common to all managers is said at `ConnectionManager`.
/// Arguments are those of `MessageManager::addMessage`. -200: number sync is not supported, whatever the arguments.
class NmsManager {
 public:
  /// Queues a text message; `msgId` receives its id whenever the service replies. -3: `recipient` or `text` is empty.
  int sendSMS(int threadId, const std::string& recipient, const std::string& text, int& msgId);

  /// Queues a multimedia message; `msgId` receives its id whenever the service replies. -3: `recipient` is empty, or
  /// both `text` and `filepath` are. -150: the device does not send MMS at present, which is not asked in WPC mode. -1:
  /// the preference that says so cannot be read.
  int sendMMS(int threadId, const std::string& recipient, const std::string& text, const std::string& filepath,
              int& msgId);
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
