// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_sending_msg_content_info(int msgId, Content& content) {
  Message message;
  const int status = original(&db_get_sending_msg_content_info)(msgId, content);
  if (status != DB_NO_RECORD || db_get_message(msgId, message) != DB_OK || message.num_e != 1) return status;
  if (message.contents.empty()) return status;
  content = message.contents.front();
  return DB_OK;
}

}  // namespace msg_consumer::db
