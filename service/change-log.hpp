// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CHANGE_LOG_HPP
#define MSG_CONSUMER_SERVICE_CHANGE_LOG_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "change.hpp"
#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// The numbered changes of the store, the newest of them kept for whoever missed a signal.
class ChangeLog {
 public:
  static constexpr std::int64_t CAPACITY = 10'000;
  static constexpr std::int64_t CAPACITY_BYTES = std::int64_t{16} * 1024 * 1024;

  /// A kept change.
  struct Entry {
    std::int64_t revision;
    std::string signal;
    std::string body;
  };

  /// The revisions that are kept; both 0 when there are none.
  struct Bounds {
    std::int64_t oldest;
    std::int64_t newest;
  };

  explicit ChangeLog(sqlite3* database);

  /// Numbers a change, inside the transaction that makes it.
  Announcement append(const Change& change);

  /// The changes after a revision, the oldest first: at most `limit`, and none more once their texts have reached
  /// `max_bytes`.
  std::vector<Entry> since(std::uint64_t revision, std::size_t limit, std::size_t max_bytes);
  Bounds bounds();

 private:
  std::int64_t next_revision();
  std::int64_t count_bytes();
  void bound_bytes(std::size_t added);

  schema::Statement _next_revision;
  schema::Statement _append;
  schema::Statement _trim;
  schema::Statement _trim_bytes;
  schema::Statement _count_bytes;
  schema::Statement _bounds;
  schema::Statement _since;
  std::int64_t _bytes = 0;
};

}  // namespace msg_consumer::service

#endif
