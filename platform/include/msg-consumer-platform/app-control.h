/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_PLATFORM_APP_CONTROL_H
#define MSG_CONSUMER_PLATFORM_APP_CONTROL_H

/**
 * @file
 * The platform's application control: asking for an application to be launched. All functions return 0 on success,
 * otherwise a negative code of the list below.
 */

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** What the functions return. Each may return APP_CONTROL_INVALID_ARGUMENT: a required argument is NULL. */
enum {
  APP_CONTROL_OK = 0,
  APP_CONTROL_INVALID_ARGUMENT = -11,
  APP_CONTROL_OUT_OF_MEMORY = -12,
  APP_CONTROL_INVALID_APP_ID = -13,      /**< not a well-known bus name */
  APP_CONTROL_NO_APP_ID = -14,           /**< no application has been named */
  APP_CONTROL_REPLY_NOT_SUPPORTED = -15, /**< a callback or user data was passed */
  APP_CONTROL_NO_BUS = -16,              /**< the system bus cannot be reached */
  APP_CONTROL_NOT_SENT = -17             /**< the system bus went away before it had the request */
};

/** A launch request. */
typedef struct app_control_s* app_control_h;

/** Would receive the launched application's answer; it is never passed: always NULL. */
typedef void (*app_control_reply_cb)(int result, void* user_data);

/** Makes an empty request; release it with app_control_destroy(). May return APP_CONTROL_OUT_OF_MEMORY. */
int app_control_create(app_control_h* app_control);

/**
 * Names the application to launch, by the bus name that it takes; the text is copied. Returns
 * APP_CONTROL_INVALID_APP_ID, and keeps the name it has, when `app_id` cannot be one.
 */
int app_control_set_app_id(app_control_h app_control, const char* app_id);

/**
 * Asks for the launch and does not wait for the application to start. `callback` and `user_data` must be NULL.
 * May return APP_CONTROL_REPLY_NOT_SUPPORTED, APP_CONTROL_NO_APP_ID, APP_CONTROL_NO_BUS and APP_CONTROL_NOT_SENT.
 */
int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback, void* user_data);

/** Releases a request. */
int app_control_destroy(app_control_h app_control);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
