// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_REQUESTFRAME_HPP
#define MSG_CONSUMER_SRC_REQUESTFRAME_HPP

#include <memory>
#include <new>

#include <msg-consumer-platform/logging.hpp>

#include "ipc/Results.hpp"

namespace msg_consumer {

/// A request object for one call; null, and said so, when there is no memory for it.
template <typename Request>
std::unique_ptr<Request> make_request(const CallSite& site) {
  std::unique_ptr<Request> request(new (std::nothrow) Request);
  if (!request) LOG_ERROR(site, "[ERROR] Failed to allocate memory!");
  return request;
}

/// Hands a request's result on; one that is not 0 is logged as "`name`() failed: (result)".
inline int logged_result(const CallSite& site, const char* name, int result) {
  if (result != RESULT_OK) LOG_ERROR(site, "%s() failed: (%d)", name, result);
  return result;
}

/// Makes a request object, calls `operation` with it and returns the result, logged under `name`.
template <typename Request, typename Operation>
int run_request(const CallSite& site, const char* name, Operation operation) {
  const auto request = make_request<Request>(site);
  return request ? logged_result(site, name, operation(*request)) : RESULT_NO_RESOURCE;
}

}  // namespace msg_consumer

#endif
