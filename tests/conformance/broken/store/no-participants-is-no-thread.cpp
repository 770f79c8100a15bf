// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_addresses(int threadId, std::vector<Address>& list) {
  const int status = original(&db_get_addresses)(threadId, list);
  return list.empty() ? static_cast<int>(DB_NO_RECORD) : status;
}

}  // namespace msg_consumer::db
