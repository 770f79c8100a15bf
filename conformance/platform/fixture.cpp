// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <stdexcept>

#include "platform/sentences.hpp"

namespace msg_consumer::conformance {

Json platform_fixture(const std::string& state) {
  static const std::map<std::string, Json> PREFERENCES = {
      {DEFAULTS, Json::object()},
      {STORED,
       {{"consumer_preference_int_consumer_status", 1},
        {"consumer_preference_bool_support_sending_mms", false},
        {"consumer_preference_int_delay_noti_event", -30},
        {"consumer_preference_bool_numbersync_supported", false},
        {"consumer_preference_bool_wpc_mode", true}}},
      {WRONG_VALUES,
       {{"consumer_preference_int_consumer_status", "soon"}, {"consumer_preference_bool_wpc_mode", "perhaps"}}},
      {TOO_LARGE,
       {{"consumer_preference_int_consumer_status", 2147483648},
        {"consumer_preference_int_delay_noti_event", -2147483649}}},
      {UNREADABLE, Json::object()},
  };
  const auto found = PREFERENCES.find(state);
  if (found == PREFERENCES.end()) throw std::invalid_argument("there is no state of this name: " + state);
  return {{"preferences", found->second}, {"readable", state != UNREADABLE}};
}

}  // namespace msg_consumer::conformance
