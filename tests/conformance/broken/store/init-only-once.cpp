// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <utility>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int init_db() {
  static bool is_open = false;
  return std::exchange(is_open, true) ? static_cast<int>(DB_FAILED) : original(&init_db)();
}

}  // namespace msg_consumer::db
