// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_uncorrelated_nms_msg_metas(const std::string& correlationId, NmsMsgMeta::CorrelationType type,
                                      NmsMsgMeta::CorrelationIdSearchType idType, bool includeDeleted,
                                      std::vector<NmsMsgMeta>& list) {
  if (idType == NmsMsgMeta::SEARCH_PREFIX) idType = NmsMsgMeta::SEARCH_CONTAINED;
  return original(&db_get_uncorrelated_nms_msg_metas)(correlationId, type, idType, includeDeleted, list);
}

}  // namespace msg_consumer::db
