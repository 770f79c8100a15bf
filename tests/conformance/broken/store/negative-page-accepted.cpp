// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  ListCondition clamped = condition;
  clamped.num_a = std::max(clamped.num_a, 0);
  clamped.num_b = std::max(clamped.num_b, 0);
  return original(&db_get_message_list)(clamped, list);
}

}  // namespace msg_consumer::db
