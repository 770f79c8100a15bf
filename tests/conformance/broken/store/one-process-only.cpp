// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <unistd.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  static const pid_t first = getpid();
  return getpid() != first ? static_cast<int>(DB_FAILED) : original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
