// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_LISTCONDITION_H
#define MSG_CONSUMER_COMMON_LISTCONDITION_H

#include <cstdint>
#include <string>
#include <vector>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// What a message list is to hold. A default-constructed one means every message, newest first.
class ListCondition {
 public:
  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  ListCondition();
  ListCondition(const ListCondition& other);
  ListCondition(ListCondition&& other) noexcept;
  ListCondition& operator=(const ListCondition& other);
  ListCondition& operator=(ListCondition&& other) noexcept;
  ~ListCondition();
  /// @}

  int flag_x = 1;               ///< 1 newest first, 0 oldest first
  std::uint8_t flag_y = 0;      ///< only unread messages
  int num_type = 0;             ///< only messages of this type, 0 for every type
  int num_a = 0;                ///< offset; negative is an invalid argument
  int num_b = 0;                ///< limit, 0 for none; negative is an invalid argument
  std::string keyword;          ///< substring of body, subject or any address, without regard to case
  std::vector<int> thread_ids;  ///< only messages of any of these threads, empty for every thread
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
