// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  ListCondition all = condition;
  all.flag_y = 0;
  return original(&db_get_message_list)(all, list);
}

}  // namespace msg_consumer::db
