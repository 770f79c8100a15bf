/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_EVENT_H
#define MSG_CONSUMER_EVENT_H

/**
 * @file
 * Event types of the C API and the callback that receives events.
 */

#ifdef __cplusplus
extern "C" {
#endif

/** What an event is about. */
typedef enum {
  /** Messages or threads were added, changed or deleted. */
  MSG_CONSUMER_EVENT_STORAGE_CHANGED = 0,
  /** The parts (files) of a message changed. */
  MSG_CONSUMER_EVENT_CONTENT_CHANGED = 1,
  /** A group chat's participants or name changed. */
  MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED = 2,
  /** The phone answered a request to store a message. */
  MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT = 3
} msg_consumer_event_type_e;

/**
 * Receives one event.
 *
 * @param data       a JSON object in UTF-8, for example
 *                   `{"event":"added","revision":7,"message_ids":[12],"thread_ids":[3]}`.
 *                   Revisions grow by one, so that a gap shows a missed event. An id list is null when it would
 *                   hold more than 1,000 ids. The text is valid only during the call: copy what is kept.
 * @param user_data  the pointer given when subscribing.
 *
 * It runs on the thread that iterates the GLib main context which was the thread-default one when the library
 * connected. It must not throw. It may subscribe and unsubscribe: a callback that was unsubscribed is not called again,
 * and one that was added is first called for the next event.
 */
typedef void (*msg_consumer_event_cb)(const char* data, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
