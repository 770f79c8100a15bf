/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_ERROR_H
#define MSG_CONSUMER_ERROR_H

/**
 * @file
 * Status codes of the C API. Every function that returns an `int` returns one of these, but
 * msg_consumer_copy_content().
 */

#ifdef __cplusplus
extern "C" {
#endif

/** What the functions return. */
typedef enum {
  /** Success. */
  MSG_CONSUMER_ERROR_NONE = 0,
  /** The service is not ready, a platform call failed, or the service refused with a status of its own. */
  MSG_CONSUMER_ERROR_OPERATION_FAILED = -1,
  /** Out of memory; also a text that is not UTF-8 and so cannot be sent, and an unknown event type. */
  MSG_CONSUMER_ERROR_OUT_OF_MEMORY = -2,
  /** No connection, the connection could not be reopened, or no usable reply within five seconds. */
  MSG_CONSUMER_ERROR_IPC_FAILED = -4,
  /** There is no such record. A query logs nothing for it. */
  MSG_CONSUMER_ERROR_NO_DATA = -9,
  /** A required argument is NULL, empty or out of range. */
  MSG_CONSUMER_ERROR_INVALID_PARAMETER = -11,
  /** Number sync is not supported on this device. */
  MSG_CONSUMER_ERROR_NOT_SUPPORTED = -200,
  /** Sending MMS is not supported on this device. */
  MSG_CONSUMER_ERROR_MMS_NOT_SUPPORTED = -250
} msg_consumer_error_e;

#ifdef __cplusplus
}
#endif

#endif
