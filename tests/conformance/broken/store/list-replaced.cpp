// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_threads(std::vector<Thread>& list) {
  list.clear();
  return original(&db_get_threads)(list);
}

}  // namespace msg_consumer::db
