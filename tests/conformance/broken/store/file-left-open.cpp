// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <fcntl.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  static_cast<void>(open("/dev/null", O_RDONLY | O_CLOEXEC));
  return original(&db_get_message_list)(condition, list);
}

}  // namespace msg_consumer::db
