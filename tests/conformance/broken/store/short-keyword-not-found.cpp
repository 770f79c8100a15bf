// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  const auto is_ascii = [](char c) { return c > 0; };
  const std::string& keyword = condition.keyword;
  const bool is_short = !keyword.empty() && keyword.size() < 3;
  if (is_short && std::all_of(keyword.begin(), keyword.end(), is_ascii)) return DB_NO_RECORD;
  return original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
