// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_PROXYFRAME_HPP
#define MSG_CONSUMER_SRC_PROXYFRAME_HPP

#include <msg-consumer/ipc/IPCProxy.h>
#include <msg-consumer-platform/logging.hpp>

#include "ipc/Results.hpp"

namespace msg_consumer {

/// Runs one operation of the proxy and returns its result; one that is not 0 is logged as "[ERROR] `name`() failed:
/// (result)".
template <typename Operation>
int run_with_proxy(const CallSite& site, const char* name, Operation operation) {
  IPCProxy* const proxy = IPCProxy::getInstance();
  const int result = proxy != nullptr ? operation(*proxy) : RESULT_NO_RESOURCE;
  if (result != RESULT_OK) LOG_ERROR(site, "[ERROR] %s() failed: (%d)", name, result);
  return result;
}

}  // namespace msg_consumer

#endif
