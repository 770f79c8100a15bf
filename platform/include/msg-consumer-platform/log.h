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

/**
 * Writes one line to the log.
 *
 * @param log_id    the log buffer, 0 for the main one
 * @param priority  3 debug, 4 info, 5 warning, 6 error
 * @param tag       who speaks, for example "MSG_CONSUMER"
 * @param format    a printf format for the arguments that follow
 * @return 0 on success, also for a line below the threshold, otherwise a negative code
 */
int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
