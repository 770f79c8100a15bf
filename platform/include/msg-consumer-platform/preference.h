/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_PLATFORM_PREFERENCE_H
#define MSG_CONSUMER_PLATFORM_PREFERENCE_H

/**
 * @file
 * The platform's preferences. All functions return 0 on success, otherwise a negative code of the list below; an
 * output is written only on success. Every call reads the store anew.
 *
 * The store is the key file MSG_CONSUMER_PREFERENCES, by default /var/lib/msg-consumer-preferences/preferences.ini,
 * group "preferences". A key that it lacks, like a file that is missing, gives the key's default. The file is a regular
 * one of at most 64 KiB; a link in its place is not followed.
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

/** What the functions return. */
enum {
  PREFERENCE_OK = 0,
  PREFERENCE_INVALID_ARGUMENT = -21, /**< the key or the output is NULL */
  PREFERENCE_UNKNOWN_KEY = -22,
  PREFERENCE_WRONG_TYPE = -23,      /**< the key has another type than asked for, or the file holds no value of it */
  PREFERENCE_UNREADABLE_FILE = -24, /**< the file exists and cannot be read, or it is no regular file or too large */
  PREFERENCE_MALFORMED_FILE = -25,  /**< the file is no key file */
  PREFERENCE_NO_FOLDER = -26,       /**< the file's folder does not exist */
  PREFERENCE_NOT_WRITTEN = -27,     /**< the file cannot be locked or replaced */
  PREFERENCE_BUSY = -28,            /**< other writers have held the lock for two seconds */
  PREFERENCE_OUT_OF_MEMORY = -29    /**< out of memory */
};

/** Reads an integer preference; a number that does not fit into 32 bits has the wrong type. */
int preference_get_int(const char* key, int* value);

/** Reads a boolean preference. */
int preference_get_boolean(const char* key, bool* value);

/**
 * Writes an integer preference: once it returns 0, every process reads the new value. The rest of the file is kept,
 * and a file that cannot be read or understood is left as it is. A file that is missing is made, a folder is not.
 * Waits for other writers, but two seconds at most.
 */
int preference_set_int(const char* key, int value);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
