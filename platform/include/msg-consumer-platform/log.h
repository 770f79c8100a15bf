/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_PLATFORM_LOG_H
#define MSG_CONSUMER_PLATFORM_LOG_H

/**
 * @file
 * The platform's log.
 */

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** What __dlog_print() returns. */
enum {
  LOG_PRINT_OK = 0,
  LOG_PRINT_INVALID_ARGUMENT = -1, /**< the tag or the format is NULL */
  LOG_PRINT_UNKNOWN_PRIORITY = -2, /**< not one of the four priorities */
  LOG_PRINT_BAD_FORMAT = -3,       /**< the C library cannot format the arguments */
  LOG_PRINT_OUT_OF_MEMORY = -4,    /**< the line is lost */
  LOG_PRINT_NOT_WRITTEN = -5       /**< stderr does not take the line */
};

/**
 * Writes one line to the log: to the systemd journal when stderr is connected to it, otherwise to stderr. Lines below
 * MSG_CONSUMER_LOG_LEVEL (3 debug to 6 error, 7 none; 6 when it is not set; read once) are dropped.
 *
 * Colour sequences in the format are dropped too. On a terminal, unless NO_COLOR is set, the text behind the first
 * " > " gets the colour of its priority. Control characters and bytes that are not UTF-8 are escaped. errno is kept.
 *
 * @param log_id    the log buffer, 0 for the main one; this implementation has one and ignores the id
 * @param priority  3 debug, 4 info, 5 warning, 6 error
 * @param tag       who speaks, for example "MSG_CONSUMER"
 * @param format    a printf format for the arguments that follow
 * @return 0 on success, also for a line below the threshold, otherwise a negative code of the list above
 */
int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
