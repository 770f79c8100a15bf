// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  ListCondition pattern = condition;
  pattern.keyword = pattern.keyword.substr(0, pattern.keyword.find('%'));
  return original(&db_get_message_list)(pattern, list);
}

}  // namespace msg_consumer::db
