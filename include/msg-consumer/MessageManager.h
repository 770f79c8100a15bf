// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_MESSAGEMANAGER_H
#define MSG_CONSUMER_MESSAGEMANAGER_H

#include <string>
#include <vector>

#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Messages: reads them from the store and has the service change them. What is common to all managers is said at
/// `ConnectionManager`. An id below 1 is refused with -3.
class MessageManager {
 public:
  /// Reads one message. -1101: there is none.
  int getMessage(int msgId, Message& message);

  /// Appends the messages that match a condition, in its order. -1101: there are none; -3: the condition's offset or
  /// limit is negative, or its keyword is not UTF-8.
  int getMessages(const ListCondition& condition, std::vector<Message>& list);

  /// Reads one message as it is shown inside its thread. -1101: there is none.
  int getConversation(int msgId, Conversation& conversation);

  /// Appends the messages of a thread as they are shown in it, oldest first. -1101: there are none.
  int getConversations(int threadId, std::vector<Conversation>& list);

  /// Tells how far the file of an outgoing message has been transferred; `status` is written on success only. -1101:
  /// no such message, or it has no file.
  int getFTSendingStatus(int msgId, Content::Status& status);

  /// Marks a message read.
  int readMessage(int msgId);

  /// Deletes a message; a locked one stays, which the service's status says.
  int deleteMessage(int msgId);

  /// Stores a draft; `msgId` receives its id whenever the service replies.
  ///
  /// `msgType` is "sms" or "mms", `threadId` the thread or 0 for the recipients' own, `recipient` their addresses,
  /// separated by ';', `filepath` the files to attach, separated by ';', or empty. -3: `recipient` is empty, or the
  /// type is another.
  int addMessage(const std::string& msgType, int threadId, const std::string& recipient, const std::string& text,
                 const std::string& filepath, int simIndex, int& msgId);

  /// Queues a text message for sending; arguments as for `addMessage`.
  int sendSMS(int threadId, const std::string& recipient, const std::string& text, int simIndex, int& msgId);

  /// Queues a multimedia message for sending; arguments as for `addMessage`. Whether the device may send MMS is not
  /// asked.
  int sendMMS(int threadId, const std::string& recipient, const std::string& text, const std::string& filepath,
              int simIndex, int& msgId);

  /// Sends a failed message again, or a draft.
  int resendMessage(int msgId);

  /// Starts fetching the content of an MMS that was only notified.
  int updateMMSRetrieveStatus(int msgId);

  /// Takes a message out of the blocked ones.
  int restoreBlockedMessage(int msgId);

  /// Asks the phone to store a message; `EVENT_STORE_MESSAGE_RESULT` tells the outcome.
  int exportMessageToPhone(int msgId);
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
