// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  ListCondition unlimited = condition;
  if (!unlimited.keyword.empty() && unlimited.num_b > 0) unlimited.num_b = 0;
  return original(&db_get_message_list)(unlimited, list);
}

}  // namespace msg_consumer::db
