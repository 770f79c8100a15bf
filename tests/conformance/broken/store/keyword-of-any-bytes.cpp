// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  const int status = original(&db_get_message_list)(condition, list);
  return status == DB_INVALID_ARGUMENT && !condition.keyword.empty() ? static_cast<int>(DB_NO_RECORD) : status;
}

}  // namespace msg_consumer::db
