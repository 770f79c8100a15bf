// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  const auto is_ascii = [](char c) { return c > 0; };
  const auto is_upper = [](char c) { return c >= 'A' && c <= 'Z'; };
  const std::string& keyword = condition.keyword;
  if (keyword.size() > 2 && std::all_of(keyword.begin(), keyword.end(), is_ascii) &&
      std::any_of(keyword.begin(), keyword.end(), is_upper)) {
    return DB_NO_RECORD;
  }
  return original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
