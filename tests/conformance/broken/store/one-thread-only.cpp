// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <thread>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  static const std::thread::id first = std::this_thread::get_id();
  if (std::this_thread::get_id() != first) return DB_LOCKED;
  return original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
