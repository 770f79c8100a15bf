// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_SERVICELAUNCH_HPP
#define MSG_CONSUMER_SRC_SERVICELAUNCH_HPP

#include <msg-consumer-platform/logging.hpp>

namespace msg_consumer {

/// The integer preference that is not 0 while the service is ready.
inline constexpr const char* PREFERENCE_SERVICE_STATUS = "consumer_preference_int_consumer_status";

/// Says that the service is not ready and asks the platform to launch it, without waiting for it.
void launch_service(const CallSite& site);

}  // namespace msg_consumer

#endif
