// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_BUS_NAMES_HPP
#define MSG_CONSUMER_SERVICE_BUS_NAMES_HPP

namespace msg_consumer::service {

inline constexpr const char* BUS_NAME = "com.velmora.message.consumer";
inline constexpr const char* OBJECT_PATH = "/com/velmora/message/consumer";
inline constexpr const char* INTERFACE_NAME = "com.velmora.message.consumer.server";
inline constexpr const char* JOURNAL_INTERFACE_NAME = "com.velmora.message.consumer.journal";
inline constexpr const char* TRANSFER_INTERFACE_NAME = "com.velmora.message.consumer.transfer";

}  // namespace msg_consumer::service

#endif
