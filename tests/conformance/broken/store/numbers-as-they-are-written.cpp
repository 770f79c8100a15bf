// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_check_thread_address_exist(const std::vector<Address>& addresses, int* threadId) {
  for (const auto& address : addresses) {
    if (address.address.find('(') != std::string::npos) return DB_NO_RECORD;
  }
  return original(&db_check_thread_address_exist)(addresses, threadId);
}

}  // namespace msg_consumer::db
