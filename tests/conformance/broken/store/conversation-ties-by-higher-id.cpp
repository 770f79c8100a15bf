// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_conversations(int threadId, std::vector<Conversation>& list) {
  const int status = original(&db_get_conversations)(threadId, list);
  std::sort(list.begin(), list.end(), [](const Conversation& left, const Conversation& right) {
    return left.time_ms != right.time_ms ? left.time_ms < right.time_ms : left.id > right.id;
  });
  return status;
}

}  // namespace msg_consumer::db
