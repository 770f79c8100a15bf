// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <mutex>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_addresses(int threadId, std::vector<Address>& list) {
  static std::mutex mutex;
  std::unique_lock lock(mutex);
  const int status = original(&db_get_addresses)(threadId, list);
  if (status != DB_OK) lock.release();
  return status;
}

}  // namespace msg_consumer::db
