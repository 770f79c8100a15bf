/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_PLATFORM_PREFERENCE_H
#define MSG_CONSUMER_PLATFORM_PREFERENCE_H

/**
 * @file
 * The platform's preferences. All functions return 0 on success, otherwise a negative code; an output is written
 * only on success. Every call reads the store anew.
 *
 * Keys: "consumer_preference_int_consumer_status" (the service is ready when it is not 0),
 * "consumer_preference_bool_support_sending_mms", "consumer_preference_int_delay_noti_event",
 * "consumer_preference_bool_numbersync_supported", "consumer_preference_bool_wpc_mode".
 */

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** Reads an integer preference. */
int preference_get_int(const char* key, int* value);

/** Reads a boolean preference. */
int preference_get_boolean(const char* key, bool* value);

/** Writes an integer preference: once it returns 0, every process reads the new value. */
int preference_set_int(const char* key, int value);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
