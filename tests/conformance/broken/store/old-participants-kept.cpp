// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_message(int msgId, Message& message) {
  const auto before = message.addresses;
  const int status = original(&db_get_message)(msgId, message);
  if (status == DB_OK) message.addresses.insert(message.addresses.end(), before.begin(), before.end());
  return status;
}

}  // namespace msg_consumer::db
