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
  Conversation();
  Conversation(const Conversation& other);
  Conversation(Conversation&& other) noexcept;
  Conversation& operator=(const Conversation& other);
  Conversation& operator=(Conversation&& other) noexcept;
  ~Conversation();

  int id;                         ///< identifier of the message
  int num_b;                      ///< thread id
  int num_c;                      ///< type: 1 SMS, 2 MMS, 3 group chat
  std::string str_d;              ///< body text
  int num_e;                      ///< direction: 1 incoming, 2 outgoing, 3 draft
  int num_f;                      ///< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed
  int num_g;                      ///< SIM index
  int num_h;                      ///< number of parts
  std::int64_t time_ms;           ///< sent or received at, in milliseconds since 1970
  std::uint8_t flag_j;            ///< read
  std::uint8_t flag_k;            ///< locked against deletion
  std::uint8_t flag_l;            ///< blocked
  int num_m;                      ///< delivery report: 0 none, 1 requested, 2 received
  int num_n;                      ///< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed
  std::uint8_t flag_o;            ///< exported to the phone
  int num_p;                      ///< size of all parts, in bytes
  std::string str_q;              ///< the phone's own id of the message, empty when it has none
  std::string str_r;              ///< sender's address
  std::string str_s;              ///< subject
  std::string str_t;              ///< sender's display name, or the address
  std::vector<Content> contents;  ///< parts
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
