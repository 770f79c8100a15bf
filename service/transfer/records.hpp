// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_RECORDS_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_RECORDS_HPP

// What the lines of an exported store hold; docs/export-format.md describes them.

#include <msg-consumer-common/Message.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "../messages.hpp"

namespace msg_consumer::service::transfer {

inline constexpr int FORMAT_VERSION = 1;

/// How many bytes of a file one line holds.
inline constexpr std::size_t CHUNK_SIZE = std::size_t{192} * 1024;

/// The longest line that is written or read, without its end.
inline constexpr std::size_t MAX_LINE_SIZE = std::size_t{16} * 1024 * 1024;

struct Counts {
  std::int64_t threads = 0;
  std::int64_t messages = 0;
  std::int64_t metadata = 0;

  bool operator==(const Counts&) const = default;
};

/// The greatest ids that were ever given.
struct LastIds {
  std::int64_t thread = 0;
  std::int64_t participant = 0;
  std::int64_t message = 0;
  std::int64_t part = 0;
  std::int64_t address = 0;
};

struct StoreHeader {
  Counts counts;
  LastIds last_ids;
};

struct ThreadRecord {
  int id = 0;
  bool is_group = false;
  std::string chat_id;
  std::string title;
  std::vector<Address> participants;
};

struct MessageRecord {
  static constexpr std::int64_t NO_FILE = -1;

  StoredMessage stored;                  ///< its thread id is that of a `ThreadRecord`, or 0
  std::vector<std::int64_t> file_sizes;  ///< of each part, or `NO_FILE`
  std::vector<NmsMsgMeta> metadata;
};

/// A piece of the next file of the message before it.
struct DataRecord {
  std::string bytes;
};

struct SubscriptionRecord {
  std::uint64_t index = 0;
  std::string token;
};

struct EndRecord {
  Counts counts;
};

/// Metadata that stands for itself is that of a message which is gone.
using Record =
    std::variant<StoreHeader, ThreadRecord, MessageRecord, DataRecord, NmsMsgMeta, SubscriptionRecord, EndRecord>;

}  // namespace msg_consumer::service::transfer

#endif
