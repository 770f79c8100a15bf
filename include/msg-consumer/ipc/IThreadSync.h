// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_IPC_ITHREADSYNC_H
#define MSG_CONSUMER_IPC_ITHREADSYNC_H

#include <vector>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Changes to threads. What is common to all request interfaces is said at `IMessageSync`.
class IThreadSync {
 public:
  virtual ~IThreadSync();

  /// Marks all messages of a thread read.
  virtual int readThread(int threadId) = 0;
  /// Deletes a thread with its messages; locked ones stay.
  virtual int deleteThread(int threadId) = 0;
  /// Deletes several threads in one call. Ids are sent as they are, repeated ones included.
  virtual int deleteThreads(const std::vector<int>& threadIds) = 0;
  /// Tells which thread the user is looking at; its incoming messages are stored as read.
  virtual int setActiveThread(int threadId) = 0;
  /// Refreshes a group chat's participants and name.
  virtual int updateGroupchatThread(int threadId) = 0;
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
