// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  constexpr const char* COMBINING_DIAERESIS = "\u0308";
  if (condition.keyword.find(COMBINING_DIAERESIS) != std::string::npos) return DB_NO_RECORD;
  return original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
