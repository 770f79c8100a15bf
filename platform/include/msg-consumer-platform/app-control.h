/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_PLATFORM_APP_CONTROL_H
#define MSG_CONSUMER_PLATFORM_APP_CONTROL_H

/**
 * @file
 * The platform's application control: asking for an application to be launched. All functions return 0 on success,
 * otherwise a negative code.
 */

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/** A launch request. */
typedef struct app_control_s* app_control_h;

/** Would receive the launched application's answer; it is never passed: always NULL. */
typedef void (*app_control_reply_cb)(int result, void* user_data);

/** Makes an empty request; release it with app_control_destroy(). */
int app_control_create(app_control_h* app_control);

/** Names the application to launch; the text is copied. */
int app_control_set_app_id(app_control_h app_control, const char* app_id);

/** Asks for the launch and does not wait for the application to start. `callback` and `user_data` must be NULL. */
int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback, void* user_data);

/** Releases a request. */
int app_control_destroy(app_control_h app_control);

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
