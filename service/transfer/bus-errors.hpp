// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_BUS_ERRORS_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_BUS_ERRORS_HPP

namespace msg_consumer::service::transfer {

inline constexpr const char* ERROR_BUSY = "com.velmora.message.consumer.Error.Busy";
inline constexpr const char* ERROR_STREAM = "com.velmora.message.consumer.Error.Stream";
inline constexpr const char* ERROR_TIMED_OUT = "com.velmora.message.consumer.Error.TimedOut";
inline constexpr const char* ERROR_FAILED = "com.velmora.message.consumer.Error.Failed";

}  // namespace msg_consumer::service::transfer

#endif
