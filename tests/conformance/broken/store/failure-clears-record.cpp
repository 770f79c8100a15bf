// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_thread(int threadId, Thread& thread) {
  thread = Thread();
  return original(&db_get_thread)(threadId, thread);
}

}  // namespace msg_consumer::db
