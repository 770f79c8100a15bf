// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_GATES_HPP
#define MSG_CONSUMER_SRC_GATES_HPP

// What the device must support before a call goes on.

#include <msg-consumer-platform/preference.h>

#include <msg-consumer-common/common_util.h>
#include <msg-consumer-platform/logging.hpp>

namespace msg_consumer {

inline constexpr const char* PREFERENCE_SENDING_MMS = "consumer_preference_bool_support_sending_mms";

/// The gate of everything that concerns the network message store.
inline bool has_numbersync(const CallSite& site) {
  const bool is_supported = common_util::is_numbersync_supported();
  if (!is_supported) LOG_ERROR(site, "[ERROR] Numbersync is not supported!");
  return is_supported;
}

/// What a front end says and answers when MMS may not be sent; they do not agree.
struct MmsRefusal {
  const char* getter;         ///< the function that is said to have failed
  const char* not_supported;  ///< the line for a device that does not send MMS
  int result_unreadable;
  int result_not_supported;
};

/// Whether MMS may be sent: 0, or the refusal's result. Asked anew every time, so that a change counts at once.
inline int check_mms(const CallSite& site, const MmsRefusal& refusal) {
  bool is_supported = false;
  if (const int result = preference_get_boolean(PREFERENCE_SENDING_MMS, &is_supported); result != 0) {
    LOG_ERROR(site, "[ERROR] %s() for (%s) failed: (%d) ", refusal.getter, PREFERENCE_SENDING_MMS, result);
    return refusal.result_unreadable;
  }
  if (!is_supported) {
    LOG_ERROR(site, "%s", refusal.not_supported);
    return refusal.result_not_supported;
  }
  return 0;
}

}  // namespace msg_consumer

#endif
