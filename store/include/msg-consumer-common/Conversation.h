// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_CONVERSATION_H
#define MSG_CONSUMER_COMMON_CONVERSATION_H

#include <cstdint>
#include <string>
#include <vector>

#include <msg-consumer-common/Content.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// One message as it is shown inside its thread.
class Conversation {
 public:
  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  Conversation();
  Conversation(const Conversation& other);
  Conversation(Conversation&& other) noexcept;
  Conversation& operator=(const Conversation& other);
  Conversation& operator=(Conversation&& other) noexcept;
  ~Conversation();
  /// @}

  int id = 0;                     ///< identifier of the message
  int num_b = 0;                  ///< thread id
  int num_c = 0;                  ///< type: 1 SMS, 2 MMS, 3 group chat
  std::string str_d;              ///< body text
  int num_e = 0;                  ///< direction: 1 incoming, 2 outgoing, 3 draft
  int num_f = 0;                  ///< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed
  int num_g = 0;                  ///< SIM index
  int num_h = 0;                  ///< number of parts
  std::int64_t time_ms = 0;       ///< sent or received at, in milliseconds since 1970
  std::uint8_t flag_j = 0;        ///< read
  std::uint8_t flag_k = 0;        ///< locked against deletion
  std::uint8_t flag_l = 0;        ///< blocked
  int num_m = 0;                  ///< delivery report: 0 none, 1 requested, 2 received
  int num_n = 0;                  ///< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed
  std::uint8_t flag_o = 0;        ///< exported to the phone
  int num_p = 0;                  ///< size of all parts, in bytes
  std::string str_q;              ///< the phone's own id of the message, empty when it has none
  std::string str_r;              ///< sender's address
  std::string str_s;              ///< subject
  std::string str_t;              ///< sender's display name, or the address
  std::vector<Content> contents;  ///< parts
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
