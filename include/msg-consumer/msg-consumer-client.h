/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_CLIENT_H
#define MSG_CONSUMER_CLIENT_H

/**
 * @file
 * The C API of the message consumer client: reading and changing the device's messages.
 *
 * An application connects, makes any number of calls, and disconnects. Queries read the message store directly and
 * work without a connection. Every change is one call to the message consumer service, which owns the messages.
 *
 * Conventions
 * -----------
 * - **Status.** Every function that returns an `int`, but msg_consumer_copy_content(), returns a
 *   `msg_consumer_error_e`. Each function's own text names
 *   the codes that need a word; besides them, every change may return
 *   `MSG_CONSUMER_ERROR_IPC_FAILED` (not connected, or no usable reply: the change may or may not have happened),
 *   `MSG_CONSUMER_ERROR_OUT_OF_MEMORY` (also for text that is not UTF-8, which is not
 *   sent), `MSG_CONSUMER_ERROR_INVALID_PARAMETER` (also when the service refuses an argument, such as no recipient),
 *   `MSG_CONSUMER_ERROR_NO_DATA` (the service knows no such message or thread) and
 *   `MSG_CONSUMER_ERROR_OPERATION_FAILED` (the service refused, for example because the command does not apply to
 *   the message); every query may return `MSG_CONSUMER_ERROR_NO_DATA` (nothing found),
 *   `MSG_CONSUMER_ERROR_OUT_OF_MEMORY` and `MSG_CONSUMER_ERROR_OPERATION_FAILED` (the store is missing, may not be
 *   read, is damaged, is locked, or has another version; the log says which).
 * - **NULL.** A required pointer that is NULL is refused with `MSG_CONSUMER_ERROR_INVALID_PARAMETER` before anything
 *   is sent or allocated. The release functions accept NULL at every level.
 * - **Outputs** are written on success only. The exceptions: the message id of the sending functions is written
 * whenever the service replied, whatever the status; the lists of the network store's metadata take what the store
 * found even when it answers that there is nothing; msg_consumer_copy_content() says what it leaves behind.
 * - **Ownership.** Arguments stay the caller's. What a query fills is the caller's from then on and is released with
 *   the function that the query names. Records and list handles must come zero-filled from the C heap (`calloc`):
 *   they are released with `free`, and GLib must allocate from the system allocator, as it does since 2.46.
 * - **Encoding.** All texts are UTF-8.
 * - **Ids** are positive. They are never used twice.
 * - **Blocking.** A change waits five seconds for its reply, and before that for the bus when it has to connect anew. A
 *   query waits at most one second for a lock.
 * - **Threads.** The library starts no thread and no main loop. Connect, disconnect, subscribe and make changes from
 *   one thread. Queries may run on any thread. Callbacks run on the thread that iterates the GLib main context which
 *   was the thread-default one when the library connected, or, after the bus was restarted, that of the thread whose
 *   change connected anew; without such a loop there are no events.
 */

#include <msg-consumer/msg-consumer-error.h>
#include <msg-consumer/msg-consumer-event.h>
#include <msg-consumer/msg-consumer-record.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma GCC visibility push(default)

/**
 * @name Connection and events
 * @{
 */

/**
 * Connects to the service and opens the message store. Connecting again keeps the connection.
 *
 * When the service is not ready it is asked to start, and the function returns `MSG_CONSUMER_ERROR_OPERATION_FAILED`
 * at once: call again a little later. The same code stands for a readiness preference that cannot be read.
 * `MSG_CONSUMER_ERROR_IPC_FAILED`: the system bus cannot be reached.
 *
 * The bus is told to deliver events without waiting for its answer: what happens before the first change made after
 * connecting may pass unseen.
 */
int msg_consumer_connect(void);

/** Drops all event callbacks and closes connection and store. Succeeds also when not connected. */
int msg_consumer_disconnect(void);

/**
 * Has `cb` called for every event of a type, in the order of subscription. May be called before connecting. The same
 * callback is held once per type: subscribing it again succeeds, and the first `user_data` stays.
 *
 * @param type       a `msg_consumer_event_type_e`; another value returns `MSG_CONSUMER_ERROR_OUT_OF_MEMORY`
 * @param cb         what is called
 * @param user_data  handed to `cb` each time; must live until it is unsubscribed
 */
int msg_consumer_event_subscribe(int type, msg_consumer_event_cb cb, void* user_data);

/**
 * Takes a callback back. `MSG_CONSUMER_ERROR_OPERATION_FAILED`: it is not subscribed to the type. An unknown type
 * returns `MSG_CONSUMER_ERROR_OUT_OF_MEMORY`.
 */
int msg_consumer_event_unsubscribe(int type, msg_consumer_event_cb cb);

/**
 * @}
 * @name Changes to messages
 * @{
 */

/** Marks a message read. */
int msg_consumer_read_message(int msgId);

/** Deletes a message. A locked one is refused with `MSG_CONSUMER_ERROR_OPERATION_FAILED`. */
int msg_consumer_delete_message(int msgId);

/**
 * Sends a text message. It is queued when the function returns, and events tell how it fares.
 *
 * @param threadId   the thread to write in; 0 or less for the thread of the recipients, which is made when there is
 *                   none
 * @param recipient  the recipients' addresses, separated by ';'. With a positive thread id it is empty or names the
 *                   thread's participants
 * @param text       the text, may be empty
 * @param simIndex   the SIM to send with
 * @param msgId      receives the id of the new message
 */
int msg_consumer_send_message(int threadId, const char* recipient, const char* text, int simIndex, int* msgId);

/**
 * Sends a multimedia message. It is queued when the function returns, and events tell how it fares.
 *
 * @param threadId   as for msg_consumer_send_message()
 * @param recipient  as for msg_consumer_send_message()
 * @param text       the text, or NULL for none
 * @param filepath   the files to attach, separated by ';', or NULL for none; `text` and `filepath` may not both be
 *                   NULL. The service copies regular files, not symbolic links, and refuses the message with
 *                   `MSG_CONSUMER_ERROR_OPERATION_FAILED` when one cannot be had
 * @param simIndex   the SIM to send with
 * @param msgId      receives the id of the new message
 *
 * `MSG_CONSUMER_ERROR_MMS_NOT_SUPPORTED`: the device does not send MMS at present, which the function asks the
 * platform on every call. `MSG_CONSUMER_ERROR_OPERATION_FAILED` also stands for a preference that cannot be read.
 */
int msg_consumer_send_mms(int threadId, const char* recipient, const char* text, const char* filepath, int simIndex,
                          int* msgId);

/** Sends a failed message again, or a draft. Another message is refused with `MSG_CONSUMER_ERROR_OPERATION_FAILED`. */
int msg_consumer_resend_message(int msgId);

/** Takes a message out of the blocked ones. */
int msg_consumer_restore_block_message(int msgId);

/** Asks the phone to store a message; `MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT` tells the outcome. */
int msg_consumer_store_message(int msgId);

/** Starts fetching the content of an MMS that was only notified. */
int msg_consumer_update_retrieve_mms_message(int msgId);

/**
 * @}
 * @name Changes to threads
 * @{
 */

/** Marks all messages of a thread read. */
int msg_consumer_read_thread_message(int threadId);

/** Deletes a thread with its messages. Locked messages stay, and the thread with them. */
int msg_consumer_delete_thread(int threadId);

/**
 * Deletes several threads as one change: all of them, or none when one is unknown.
 *
 * @param threadIds  the threads; an id may stand there twice
 * @param count      how many ids there are, at least 1
 */
int msg_consumer_delete_threads(const int* threadIds, int count);

/** Tells which thread the user is looking at, 0 for none; its incoming messages are stored as read. */
int msg_consumer_set_active_thread_id(int threadId);

/** Refreshes a group chat's participants and name; `MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED` tells the outcome. */
int msg_consumer_update_group_chat_address(int threadId);

/**
 * @}
 * @name Content files and the paired device
 * @{
 */

/**
 * Has the service write the file of a message to `peerFilepath`. An existing file is never overwritten:
 * `MSG_CONSUMER_ERROR_OPERATION_FAILED`.
 */
int msg_consumer_get_content_file(int msgId, const char* peerFilepath);

/** Hands a file to the service as a part of a message. */
int msg_consumer_send_content_file(int msgId, const char* filepath);

/** Shows a message on the device. */
int msg_consumer_send_show_on_device(int msgId);

/** Asks for this application to become the default SMS application (`status` true), or to stop being it. */
int msg_consumer_send_change_sms_application_request(bool status);

/**
 * @}
 * @name Queries
 * @{
 */

/**
 * Reads one message.
 *
 * @param msgId             the message
 * @param unused1           ignored
 * @param unused2           ignored
 * @param msg_detail_info   zero-filled record to fill; release with msg_consumer_free_message_info()
 */
int msg_consumer_get_message(int msgId, int unused1, int unused2, msg_message_item_t* msg_detail_info);

/** Reads one thread into a zero-filled record; release with msg_consumer_free_thread_info(). */
int msg_consumer_get_thread_view(int threadId, msg_thread_view_t* thread_view);

/**
 * Reads one message as it is shown inside its thread into a zero-filled record; release with
 * msg_consumer_free_conversation_info().
 */
int msg_consumer_get_conversation_view(int msgId, msg_conversation_view_t* conv_view);

/**
 * Appends all threads to a list, newest first, as `msg_thread_view_t`; release with msg_consumer_free_thread_list().
 */
int msg_consumer_get_thread_view_list(msg_list_handle_t* thread_view_list);

/**
 * Appends the messages of a thread to a list, oldest first, as `msg_conversation_view_t`; release with
 * msg_consumer_free_conversation_list().
 */
int msg_consumer_get_conversation_view_list(int threadId, msg_list_handle_t* conv_view_list);

/**
 * Appends the participants of a thread to a list, as `msg_address_item_t`; release with
 * msg_consumer_free_address_list(). A thread without participants succeeds and appends nothing.
 */
int msg_consumer_get_address_list(int threadId, msg_list_handle_t* addr_list);

/**
 * Appends the messages that match a condition to a list, as `msg_message_item_t`; release with
 * msg_consumer_free_message_list(). A condition with a negative offset or limit, or with a keyword that is not UTF-8,
 * is refused with `MSG_CONSUMER_ERROR_INVALID_PARAMETER`.
 */
int msg_consumer_get_message_list(msg_list_handle_t* msg_item_list, msg_list_condition_t* condition);

/**
 * Finds the thread whose only participant is `address`. Phone numbers are compared without blanks, dashes, dots and
 * brackets, e-mail addresses without regard to case. `MSG_CONSUMER_ERROR_NO_DATA`: there is no such thread, and
 * `*thread_id` is as it was. An address that is empty is refused with `MSG_CONSUMER_ERROR_INVALID_PARAMETER`.
 */
int msg_consumer_get_thread_id_by_address(const char* address, int* thread_id);

/**
 * @}
 * @name Network message store: messages
 * On behalf of the network message store. Each of these functions, and of those on metadata and subscription below,
 * first returns `MSG_CONSUMER_ERROR_NOT_SUPPORTED` where number sync is not supported.
 * @{
 */

/**
 * Adds a message that came from the network store. The record stays the caller's; ids in it are not used, and a thread
 * id of 0 means the thread of its addresses. `MSG_CONSUMER_ERROR_OPERATION_FAILED` also stands for a record that cannot
 * be serialised, for example because a text is not UTF-8.
 */
int msg_consumer_nms_add_message(const msg_message_item_t* msg_item);

/** Marks a message read. */
int msg_consumer_nms_read_message(int msgId);

/** Reads a message's sub-type (0 plain, 1 MMS notification, 2 report, 3 blocked) and its network status. */
int msg_consumer_nms_get_message_network_status(int msgId, int* subType, int* networkStatus);

/** Sets a message's network status, a number that is passed through. */
int msg_consumer_nms_update_message_network_status(int msgId, int networkStatus);

/** Deletes a message. A locked one is refused with `MSG_CONSUMER_ERROR_OPERATION_FAILED`. */
int msg_consumer_nms_delete_message(int msgId);

/** Deletes the unlocked messages older than `time`, in seconds since 1970. */
int msg_consumer_nms_delete_message_by_time(int time);

/** Sends a text message, as msg_consumer_send_message() does. */
int msg_consumer_nms_send_message(int threadId, const char* recipient, const char* message, int* msgId);

/**
 * Sends a multimedia message, as msg_consumer_send_mms() does. Where the device sends MMS without asking (WPC mode),
 * the platform is not asked whether it may.
 */
int msg_consumer_nms_send_mms(int threadId, const char* recipient, const char* message, const char* filepath,
                              int* msgId);

/** Sends a failed message again, or a draft. */
int msg_consumer_nms_resend_message(int msgId);

/** Starts fetching the content of an MMS. */
int msg_consumer_nms_download_mms(int msgId);

/** Drops all metadata and the subscription after a reset of the network mailbox. Messages stay. */
int msg_consumer_nms_handle_resetbox(void);

/**
 * @}
 * @name Network message store: metadata
 * A record is found by its message id, its object id, or both; one of the two must be given (`msgId` at least 1, or
 * `objectId` not NULL).
 * @{
 */

/** Adds the metadata of a message. */
int msg_consumer_nms_add_msg_meta(const msg_nms_msg_meta_data_t* nms_msg_meta);

/** Replaces metadata. */
int msg_consumer_nms_update_msg_meta(int msgId, const char* objectId, const msg_nms_msg_meta_data_t* nms_msg_meta);

/** Deletes metadata. */
int msg_consumer_nms_delete_msg_meta(int msgId, const char* objectId);

/** Deletes all metadata whose message is gone, or which has neither message nor object id. */
int msg_consumer_nms_delete_invalid_msg_meta(void);

/**
 * Reads metadata into the caller's record, whose earlier strings are not released;
 * msg_consumer_free_nms_msg_meta_item() releases the record with them.
 */
int msg_consumer_nms_get_msg_meta(int msgId, const char* objectId, msg_nms_msg_meta_data_t* nms_msg_meta);

/** Tells whether any message still needs a download. */
int msg_consumer_nms_check_download_required_msg_exist(bool* exist);

/**
 * Appends the metadata that is not correlated with a local message to a list, as `msg_nms_msg_meta_data_t`; release
 * with msg_consumer_free_nms_msg_meta_list().
 *
 * @param correlationId  the correlation id to look for, NULL like an empty one
 * @param type           0 SMS and MMS, 1 group chat
 * @param id_type        how the id is compared: 0 exactly, 1 as a prefix, 2 as a part
 * @param flag           whether records that are marked deleted are included
 * @param msg_item_list  the list
 */
int msg_consumer_nms_get_uncorrelated_msg_meta_list(const char* correlationId, int type, int id_type, bool flag,
                                                    msg_list_handle_t* msg_item_list);

/** Appends the metadata that still needs a sync; `flag` and the release are as above. */
int msg_consumer_nms_get_sync_required_msg_meta_list(bool flag, msg_list_handle_t* msg_item_list);

/** Appends the metadata whose message still needs a download; the release is as above. */
int msg_consumer_nms_get_download_required_msg_meta_list(msg_list_handle_t* msg_item_list);

/**
 * @}
 * @name Network message store: subscription and settings
 * @{
 */

/**
 * Reads the subscription info into the caller's record, whose earlier token is not released;
 * msg_consumer_free_nms_mssi_info() releases the record with it.
 */
int msg_consumer_nms_get_mssi_info(msg_nms_mssi_info_t* mssi_info);

/** Stores the subscription info. The token may be empty but not NULL. */
int msg_consumer_nms_update_mssi_info(const msg_nms_mssi_info_t* mssi_info);

/**
 * Writes the preference that asks for delayed notification events; any number is accepted.
 * `MSG_CONSUMER_ERROR_OPERATION_FAILED`: it could not be written.
 */
int msg_consumer_nms_set_delay_noti_event(int value);

/**
 * @}
 * @name Releasing what queries filled
 * Each takes the address of the caller's pointer and sets that pointer to NULL, except
 * msg_consumer_free_content_item() and those for single records of the network store.
 * @{
 */

/** Releases a message with everything that belongs to it. */
void msg_consumer_free_message_info(msg_message_item_t** message);

/** Releases a list of messages and its handle. */
void msg_consumer_free_message_list(msg_list_handle_t** list);

/** Releases a thread. */
void msg_consumer_free_thread_info(msg_thread_view_t** thread);

/** Releases a list of threads and its handle. */
void msg_consumer_free_thread_list(msg_list_handle_t** list);

/** Releases a conversation entry with its parts. */
void msg_consumer_free_conversation_info(msg_conversation_view_t** conversation);

/** Releases a list of conversation entries and its handle. */
void msg_consumer_free_conversation_list(msg_list_handle_t** list);

/** Releases a list of addresses and its handle. */
void msg_consumer_free_address_list(msg_list_handle_t** list);

/** Releases a condition and its keyword, which must be on the C heap. */
void msg_consumer_free_condition_info(msg_list_condition_t** condition);

/** Releases one part; the caller's pointer is not cleared. */
void msg_consumer_free_content_item(msg_content_item_t* content);

/**
 * Copies a part with everything that belongs to it over `target`, whose earlier content is not released.
 *
 * @return 1 on success; 0 when either is NULL (`target` is as it was) or memory ran out: then the strings of `target`
 *         are its own, and its `nms_content_meta` still belongs to `source` and must not be released
 */
int msg_consumer_copy_content(const msg_content_item_t* source, msg_content_item_t* target);

/** Releases metadata of the network store, the record included; the caller's pointer is not cleared. */
void msg_consumer_free_nms_msg_meta_item(msg_nms_msg_meta_data_t* item);

/** Releases a list of metadata of the network store and its handle. */
void msg_consumer_free_nms_msg_meta_list(msg_list_handle_t** list);

/** Releases a part's metadata of the network store; the caller's pointer is not cleared. */
void msg_consumer_free_nms_content_meta_item(msg_nms_content_meta_t* item);

/** Releases subscription info, the record included; the caller's pointer is not cleared. */
void msg_consumer_free_nms_mssi_info(msg_nms_mssi_info_t* mssi_info);

/** @} */

#pragma GCC visibility pop

#ifdef __cplusplus
}
#endif

#endif
