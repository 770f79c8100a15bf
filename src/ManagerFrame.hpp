// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_MANAGERFRAME_HPP
#define MSG_CONSUMER_SRC_MANAGERFRAME_HPP

// What the manager classes share: refusing arguments and handing the store's results on. Requests are run by the frame
// that the C API uses too.

#include <msg-consumer-platform/logging.hpp>

#include "RequestFrame.hpp"
#include "ipc/Results.hpp"

namespace msg_consumer {

inline int refuse(const CallSite& site, const char* text) {
  LOG_ERROR(site, "%s", text);
  return RESULT_INVALID_ARGUMENT;
}

/// Refuses a message or thread id below 1; `name` is the argument's.
inline int refuse_id(const CallSite& site, const char* name, int id) {
  LOG_ERROR(site, "[ERROR] Invalid parameter: %s: (%d)", name, id);
  return RESULT_INVALID_ARGUMENT;
}

/// Hands a query's result on. An empty one is no failure and is told by `log_empty`.
template <typename LogEmpty>
int logged_query(const CallSite& site, const char* query, int result, LogEmpty log_empty) {
  if (result == RESULT_NO_RECORD) {
    log_empty();
  } else if (result != RESULT_OK) {
    LOG_ERROR(site, "[ERROR] %s() failed: (%d)", query, result);
  }
  return result;
}

/// For a query that reads the record of an id.
inline int record_result(const CallSite& site, const char* query, int result, const char* name, int id) {
  return logged_query(site, query, result, [&] { LOG_INFO(site, "No record for %s:(%d)", name, id); });
}

/// For the others; the managers do not agree on the line for an empty result.
inline int list_result(const CallSite& site, const char* query, int result, const char* empty) {
  return logged_query(site, query, result, [&] { LOG_INFO(site, "%s", empty); });
}

}  // namespace msg_consumer

#endif
