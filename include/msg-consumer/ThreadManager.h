// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_THREADMANAGER_H
#define MSG_CONSUMER_THREADMANAGER_H

#include <string>
#include <vector>

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Thread.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Conversation threads: reads them from the store and has the service change them. What is common to all managers is
/// said at `ConnectionManager`. An id below 1 is refused with -3, except by `setActiveThreadId`.
class ThreadManager {
 public:
  /// Reads one thread. -1101: there is none.
  int getThread(int threadId, Thread& thread);

  /// Appends all threads, newest first. -1101: there are none.
  int getAllThreads(std::vector<Thread>& list);

  /// Appends the participants of a thread; there may be none. -1101: there is no such thread.
  int getAddress(int threadId, std::vector<Address>& list);

  /// Finds the thread whose only participant is `address`. -1101: there is none, and `threadId` is as it was; -3: the
  /// address is empty, also after blanks, dashes, dots and brackets are left out.
  int getThreadIdByAddress(const std::string& address, int& threadId);

  /// Marks all messages of a thread read.
  int readThread(int threadId);

  /// Deletes a thread with its messages. Locked messages stay, and the thread with them.
  int deleteThread(int threadId);

  /// Deletes several threads as one change: all of them, or none when one is unknown. The ids are not checked here. -3:
  /// there are none.
  int deleteThreads(const std::vector<int>& threadIds);

  /// Refreshes a group chat's participants and name; `EVENT_GROUPCHAT_STATE_CHANGED` tells the outcome.
  int updateGroupchatThread(int threadId);

  /// Tells which thread the user is looking at, 0 for none; its incoming messages are stored as read.
  int setActiveThreadId(int threadId);
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
