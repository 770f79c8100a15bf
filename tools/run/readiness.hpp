// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_READINESS_HPP
#define MSG_CONSUMER_RUN_READINESS_HPP

#include <string>

namespace msg_consumer_run {

/// Waits until the service is there and an application can connect to it; returns 0 then. Has no limit of its own, and
/// starts threads: run it in a process that does nothing else.
int wait_for_service(const std::string& address);

}  // namespace msg_consumer_run

#endif
