// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_sync_required_nms_msg_metas(bool /*includeDeleted*/, std::vector<NmsMsgMeta>& list) {
  return original(&db_get_sync_required_nms_msg_metas)(true, list);
}

}  // namespace msg_consumer::db
