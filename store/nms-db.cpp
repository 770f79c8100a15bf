// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <cstddef>
#include <string>
#include <vector>

#include <msg-consumer-platform/logging.hpp>

#include "queries.hpp"
#include "query-frame.hpp"

namespace msg_consumer::db {
namespace {

schema::Statement& nms_meta_statement(Session& session, int message_id, const std::string& object_id) {
  if (message_id < 1 && object_id.empty()) throw InvalidArgument("neither message nor object id given");
  if (object_id.empty()) return session.statement(SELECT_NMS_META_OF_MESSAGE).bind(1, message_id);
  if (message_id < 1) return session.statement(SELECT_NMS_META_OF_OBJECT).bind(1, object_id);
  return session.statement(SELECT_NMS_META).bind(1, message_id).bind(2, object_id);
}

const char* uncorrelated_sql(NmsMsgMeta::CorrelationIdSearchType id_type) {
  switch (id_type) {
    case NmsMsgMeta::SEARCH_EXACT:
      return SELECT_UNCORRELATED_BY_ID;
    case NmsMsgMeta::SEARCH_PREFIX:
      return SELECT_UNCORRELATED_BY_PREFIX;
    case NmsMsgMeta::SEARCH_CONTAINED:
      return SELECT_UNCORRELATED_BY_PART;
  }
  throw InvalidArgument("unknown way to compare a correlation id");
}

bool is_group_chat(NmsMsgMeta::CorrelationType type) {
  switch (type) {
    case NmsMsgMeta::CORRELATION_MESSAGE:
      return false;
    case NmsMsgMeta::CORRELATION_GROUPCHAT:
      return true;
  }
  throw InvalidArgument("unknown type of correlation");
}

}  // namespace

int db_get_nms_msg_meta(int msgId, const std::string& objectId, NmsMsgMeta& meta) {
  return answer(HERE, [&](Session& session) { return fill(nms_meta_statement(session, msgId, objectId), meta); });
}

int db_get_uncorrelated_nms_msg_metas(const std::string& correlationId, NmsMsgMeta::CorrelationType type,
                                      NmsMsgMeta::CorrelationIdSearchType idType, bool includeDeleted,
                                      std::vector<NmsMsgMeta>& list) {
  return answer(HERE, [&](Session& session) {
    auto& statement = session.statement(uncorrelated_sql(idType));
    statement.bind(1, correlationId).bind(2, is_group_chat(type)).bind(3, includeDeleted);
    return append_all(statement, list);
  });
}

int db_get_sync_required_nms_msg_metas(bool includeDeleted, std::vector<NmsMsgMeta>& list) {
  return answer(HERE, [&](Session& session) {
    return append_all(session.statement(SELECT_SYNC_REQUIRED).bind(1, includeDeleted), list);
  });
}

int db_get_download_required_nms_msg_metas(std::vector<NmsMsgMeta>& list) {
  return answer(HERE, [&](Session& session) { return append_all(session.statement(SELECT_DOWNLOAD_REQUIRED), list); });
}

int db_get_subscription_info(unsigned long long& notiIndex, std::string& restartToken) {
  return answer(HERE, [&](Session& session) {
    auto& statement = session.statement(SELECT_SUBSCRIPTION);
    const schema::ResetAtExit reset(statement);
    if (!statement.step()) return DB_NO_RECORD;
    restartToken = statement.text(1);
    notiIndex = static_cast<unsigned long long>(statement.integer(0));
    return DB_OK;
  });
}

int db_has_download_required_message(bool* exist) {
  return answer(HERE, [&](Session& session) {
    if (exist == nullptr) throw InvalidArgument("exist is null");
    auto& statement = session.statement(SELECT_HAS_DOWNLOAD_REQUIRED);
    const schema::ResetAtExit reset(statement);
    *exist = statement.step() && statement.integer(0) != 0;
    return DB_OK;
  });
}

}  // namespace msg_consumer::db
