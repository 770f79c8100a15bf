// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  ListCondition late = condition;
  if (late.num_a > 0 && late.num_a < 100) ++late.num_a;
  return original(&db_get_message_list)(late, list);
}

}  // namespace msg_consumer::db
