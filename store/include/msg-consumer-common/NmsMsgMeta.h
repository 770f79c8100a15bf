// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_NMSMSGMETA_H
#define MSG_CONSUMER_COMMON_NMSMSGMETA_H

#include <cstdint>
#include <string>

namespace msg_consumer {

#pragma GCC visibility push(default)

/// Metadata that ties a local message to an object of the network message store. A record is invalid when its
/// message is gone, or when it has neither message nor object id.
class NmsMsgMeta {
 public:
  /// Which messages a correlation id belongs to.
  enum CorrelationType : int {
    CORRELATION_MESSAGE = 0,    ///< SMS and MMS
    CORRELATION_GROUPCHAT = 1,  ///< group chat
  };

  /// How a correlation id is compared.
  enum CorrelationIdSearchType : int {
    SEARCH_EXACT = 0,
    SEARCH_PREFIX = 1,
    SEARCH_CONTAINED = 2,
  };

  /// Made, copied, moved and destroyed as a value, out of line: by the store library that is installed.
  /// @{
  NmsMsgMeta();
  NmsMsgMeta(const NmsMsgMeta& other);
  NmsMsgMeta(NmsMsgMeta&& other) noexcept;
  NmsMsgMeta& operator=(const NmsMsgMeta& other);
  NmsMsgMeta& operator=(NmsMsgMeta&& other) noexcept;
  ~NmsMsgMeta();
  /// @}

  int msgId = 0;                 ///< id of the local message
  std::string metaStr1;          ///< object id
  std::string metaStr2;          ///< correlation id
  std::string metaStr3;          ///< folder path
  std::string metaStr4;          ///< resource URL
  std::int64_t metaInt64_1 = 0;  ///< last modified, in milliseconds since 1970
  std::int64_t metaInt64_2 = 0;  ///< notified at, in milliseconds since 1970
  int metaInt1 = 0;              ///< sync state: 0 in step, 1 sync required, 2 running, 3 failed
  int metaInt2 = 0;              ///< download state: 0 none, 1 required, 2 running, 3 done, 4 failed
  bool metaFlag1 = false;        ///< seen
  bool metaFlag2 = false;        ///< deleted
  bool metaFlag3 = false;        ///< correlated with a local message
};

#pragma GCC visibility pop

}  // namespace msg_consumer

#endif
