// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_IPC_SERVICENAMES_HPP
#define MSG_CONSUMER_SRC_IPC_SERVICENAMES_HPP

namespace msg_consumer {

// Where the service is found on the system bus; the bus name is also the id under which it is launched.
inline constexpr const char* SERVICE_BUS_NAME = "com.velmora.message.consumer";
inline constexpr const char* SERVICE_OBJECT_PATH = "/com/velmora/message/consumer";
inline constexpr const char* SERVICE_INTERFACE = "com.velmora.message.consumer.server";

}  // namespace msg_consumer

#endif
