// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/common_util.h>
#include <msg-consumer-platform/preference.h>

namespace msg_consumer::common_util {

bool is_wpc_mode() {
  static const bool value = [] {
    bool read = false;
    return preference_get_boolean("consumer_preference_bool_wpc_mode", &read) == 0 && read;
  }();
  return value;
}

}  // namespace msg_consumer::common_util
