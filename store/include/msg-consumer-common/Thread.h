// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_THREAD_H
#define MSG_CONSUMER_COMMON_THREAD_H

#include <cstdint>
#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// One conversation thread with its counts and its last message.
class Thread {
 public:
  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  Thread();
  Thread(const Thread& other);
  Thread(Thread&& other) noexcept;
  Thread& operator=(const Thread& other);
  Thread& operator=(Thread&& other) noexcept;
  ~Thread();
  /// @}

  int id = 0;                ///< identifier of the thread
  int num_b = 0;             ///< number of unread messages
  int num_c = 0;             ///< type of the last message
  int num_d = 0;             ///< direction of the last message
  std::uint8_t flag_e = 0;   ///< has a draft
  std::uint8_t flag_f = 0;   ///< has a failed message
  int num_g = 0;             ///< number of all messages
  int num_h = 0;             ///< SIM index of the last message
  int num_i = 0;             ///< delivery of the last message
  std::int64_t time_ms = 0;  ///< time of the last message, in milliseconds since 1970
  int num_k = 0;             ///< number of participants
  std::string str_m;         ///< title: the participants joined, or the group's name
  std::string str_n;         ///< text of the last message
  std::string str_o;         ///< group-chat id, empty for other threads
  std::uint8_t flag_p = 0;   ///< is a group chat
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
