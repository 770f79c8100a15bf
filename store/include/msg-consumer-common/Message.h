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
  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  Message();
  Message(const Message& other);
  Message(Message&& other) noexcept;
  Message& operator=(const Message& other);
  Message& operator=(Message&& other) noexcept;
  ~Message();
  /// @}

  int id = 0;                      ///< identifier of the message
  int num_b = 0;                   ///< thread id
  int num_c = 0;                   ///< type: 1 SMS, 2 MMS, 3 group chat
  std::string str_d;               ///< body text
  int subType = 0;                 ///< 0 plain, 1 MMS notification not yet retrieved, 2 report, 3 blocked
  int num_e = 0;                   ///< direction: 1 incoming, 2 outgoing, 3 draft
  int num_f = 0;                   ///< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed
  int networkStatus = 0;           ///< network status, passed through
  int num_h = 0;                   ///< SIM index
  std::int64_t time_ms = 0;        ///< sent or received at, in milliseconds since 1970
  std::uint8_t flag_j = 0;         ///< read
  std::uint8_t flag_k = 0;         ///< locked against deletion
  std::uint8_t flag_l = 0;         ///< blocked
  int num_m = 0;                   ///< delivery report: 0 none, 1 requested, 2 received
  int num_n = 0;                   ///< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed
  std::string str_o;               ///< subject
  std::string str_p;               ///< sender's address
  int num_q = 0;                   ///< size of all parts, in bytes
  std::uint8_t flag_r = 0;         ///< exported to the phone
  std::string str_s;               ///< the phone's own id of the message, empty when it has none
  std::vector<Address> addresses;  ///< participants
  std::vector<Content> contents;   ///< parts
  NmsMsgMeta nms_meta;             ///< metadata of the network store
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
