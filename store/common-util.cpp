// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/common_util.h>

#include <msg-consumer-platform/preference.h>
#include <msg-consumer-platform/logging.hpp>

namespace msg_consumer::common_util {
namespace {

bool read_capability(const CallSite& site, const char* key) {
  bool value = false;
  if (const int status = preference_get_boolean(key, &value); status != 0) {
    LOG_ERROR(site, "[ERROR] preference_get_boolean(%s) failed: (%d)", key, status);
    return false;
  }
  return value;
}

}  // namespace

bool is_numbersync_supported() {
  static const bool supported = read_capability(HERE, "consumer_preference_bool_numbersync_supported");
  return supported;
}

bool is_wpc_mode() {
  static const bool enabled = read_capability(HERE, "consumer_preference_bool_wpc_mode");
  return enabled;
}

}  // namespace msg_consumer::common_util
