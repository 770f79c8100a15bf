// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONTENTMANAGER_H
#define MSG_CONSUMER_CONTENTMANAGER_H

#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// The files of messages. What is common to all managers is said at `ConnectionManager`.
class ContentManager {
 public:
  /// Has the service write the file of a message to `peerFilepath`; an existing file is never overwritten, which the
  /// service's status says. -3: the id is below 1, or the path is empty.
  int downloadContentFile(int msgId, const std::string& peerFilepath);
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
