// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_has_download_required_message(bool* exist) {
  *exist = false;
  return original(&db_has_download_required_message)(exist);
}

}  // namespace msg_consumer::db
