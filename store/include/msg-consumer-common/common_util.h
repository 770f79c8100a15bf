// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_COMMON_UTIL_H
#define MSG_CONSUMER_COMMON_COMMON_UTIL_H

namespace msg_consumer::common_util {

#pragma GCC visibility push(default)

// Both are read from the preferences at the first use and, once read, do not change during the process's life. What
// cannot be read is false and is tried again at the next call. Neither throws.

/// Whether the device keeps metadata of the network message store with its messages.
bool is_numbersync_supported();

/// Whether the device sends MMS without asking whether that is allowed.
bool is_wpc_mode();

#pragma GCC visibility pop

}  // namespace msg_consumer::common_util

#endif
