// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <atomic>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

static std::atomic<bool> is_closed = false;

int init_db() {
  is_closed = false;
  return original(&init_db)();
}

int deinit_db() {
  is_closed = true;
  return original(&deinit_db)();
}

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  return is_closed ? static_cast<int>(DB_FAILED) : original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
