// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CHANGE_LOG_HPP
#define MSG_CONSUMER_SERVICE_CHANGE_LOG_HPP

#include <cstdint>

#include "change.hpp"
#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// The numbered changes of the store, the newest of them kept for whoever missed a signal.
class ChangeLog {
 public:
  static constexpr std::int64_t CAPACITY = 10'000;

  explicit ChangeLog(sqlite3* database);

  /// Numbers a change, inside the transaction that makes it.
  Announcement append(const Change& change);

 private:
  std::int64_t next_revision();

  schema::Statement _next_revision;
  schema::Statement _append;
  schema::Statement _trim;
};

}  // namespace msg_consumer::service

#endif
