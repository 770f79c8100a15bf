// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_IPC_RESULTS_HPP
#define MSG_CONSUMER_SRC_IPC_RESULTS_HPP

namespace msg_consumer {

// The results that the proxy, the request classes, the store and the managers share. Any other number is the
// service's own status.
inline constexpr int RESULT_OK = 0;
inline constexpr int RESULT_FAILED = -1;
inline constexpr int RESULT_NO_RESOURCE = -2;  ///< no memory, no proxy, or a tuple that could not be built
inline constexpr int RESULT_INVALID_ARGUMENT = -3;
inline constexpr int RESULT_IPC_FAILED = -4;
inline constexpr int RESULT_MMS_NOT_SUPPORTED = -150;
inline constexpr int RESULT_NOT_SUPPORTED = -200;
inline constexpr int RESULT_NO_RECORD = -1101;

}  // namespace msg_consumer

#endif
