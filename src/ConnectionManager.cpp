// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ConnectionManager.h>

#include <msg-consumer-platform/preference.h>

#include <msg-consumer-common/db.h>

#include "ProxyFrame.hpp"
#include "ServiceLaunch.hpp"

namespace msg_consumer {

int ConnectionManager::connect() {
  int service_status = 0;
  if (const int result = preference_get_int(PREFERENCE_SERVICE_STATUS, &service_status); result != 0) {
    LOG_ERROR(HERE, "[ERROR] preference_get_int() failed: (%d)", result);
    return RESULT_FAILED;
  }
  if (service_status == 0) {
    launch_service(HERE);
    return RESULT_FAILED;
  }
  const int result = run_with_proxy(HERE, "IPCProxy::connect", [](IPCProxy& proxy) { return proxy.connect(); });
  if (result == RESULT_OK) static_cast<void>(db::init_db());
  return result;
}

int ConnectionManager::disconnect() {
  static_cast<void>(db::deinit_db());
  return run_with_proxy(HERE, "IPCProxy::disconnect", [](IPCProxy& proxy) { return proxy.disconnect(); });
}

int ConnectionManager::subscribeEvent(EventType type, void (*cb)(const char*, void*), void* user_data) {
  return run_with_proxy(HERE, "IPCProxy::subscribe",
                        [&](IPCProxy& proxy) { return proxy.subscribe(type, cb, user_data); });
}

int ConnectionManager::unsubscribeEvent(EventType type, void (*cb)(const char*, void*)) {
  return run_with_proxy(HERE, "IPCProxy::unsubscribe", [&](IPCProxy& proxy) { return proxy.unsubscribe(type, cb); });
}

}  // namespace msg_consumer
