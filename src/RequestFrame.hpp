// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_REQUESTFRAME_HPP
#define MSG_CONSUMER_SRC_REQUESTFRAME_HPP

#include <memory>
#include <new>

#include <msg-consumer-platform/logging.hpp>

namespace msg_consumer {

inline constexpr int RESULT_OUT_OF_MEMORY = -2;

/// Makes a request object for one call of `operation` and returns its result; one that is not 0 is logged as
/// "`name`() failed: (result)".
template <typename Request, typename Operation>
int run_request(const CallSite& site, const char* name, Operation operation) {
  const std::unique_ptr<Request> request(new (std::nothrow) Request);
  if (!request) {
    LOG_ERROR(site, "[ERROR] Failed to allocate memory!");
    return RESULT_OUT_OF_MEMORY;
  }
  const int result = operation(*request);
  if (result != 0) LOG_ERROR(site, "%s() failed: (%d)", name, result);
  return result;
}

}  // namespace msg_consumer

#endif
