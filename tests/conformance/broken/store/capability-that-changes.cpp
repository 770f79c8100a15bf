// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/common_util.h>
#include <msg-consumer-platform/preference.h>

namespace msg_consumer::common_util {

bool is_wpc_mode() {
  bool value = false;
  return preference_get_boolean("consumer_preference_bool_wpc_mode", &value) == 0 && value;
}

}  // namespace msg_consumer::common_util
