// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_BUS_CONFIGURATION_HPP
#define MSG_CONSUMER_RUN_BUS_CONFIGURATION_HPP

#include <string>

namespace msg_consumer_run {

inline constexpr const char* service_name = "com.velmora.message.consumer";

/// The address of a bus that listens at a socket in the file system.
std::string bus_address(const std::string& socket);

/// A bus's configuration: whoever runs it may do everything, and no service is known but those in `services`.
std::string bus_configuration(const std::string& address, const std::string& services);

/// What has the bus start `program` when its service is called.
std::string activation_file(const std::string& program);

}  // namespace msg_consumer_run

#endif
