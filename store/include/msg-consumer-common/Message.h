// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_MESSAGE_H
#define MSG_CONSUMER_COMMON_MESSAGE_H

#include <cstdint>
#include <string>
#include <vector>

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/NmsMsgMeta.h>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// One stored message with everything that belongs to it.
class Message {
 public:
  Message();
  Message(const Message& other);
  Message(Message&& other) noexcept;
  Message& operator=(const Message& other);
  Message& operator=(Message&& other) noexcept;
  ~Message();

  int id;                          ///< identifier of the message
  int num_b;                       ///< thread id
  int num_c;                       ///< type: 1 SMS, 2 MMS, 3 group chat
  std::string str_d;               ///< body text
  int subType;                     ///< 0 plain, 1 MMS notification not yet retrieved, 2 report, 3 blocked
  int num_e;                       ///< direction: 1 incoming, 2 outgoing, 3 draft
  int num_f;                       ///< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed
  int networkStatus;               ///< network status, passed through
  int num_h;                       ///< SIM index
  std::int64_t time_ms;            ///< sent or received at, in milliseconds since 1970
  std::uint8_t flag_j;             ///< read
  std::uint8_t flag_k;             ///< locked against deletion
  std::uint8_t flag_l;             ///< blocked
  int num_m;                       ///< delivery report: 0 none, 1 requested, 2 received
  int num_n;                       ///< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed
  std::string str_o;               ///< subject
  std::string str_p;               ///< sender's address
  int num_q;                       ///< size of all parts, in bytes
  std::uint8_t flag_r;             ///< exported to the phone
  std::string str_s;               ///< the phone's own id of the message, empty when it has none
  std::vector<Address> addresses;  ///< participants
  std::vector<Content> contents;   ///< parts
  NmsMsgMeta nms_meta;             ///< metadata of the network store
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
