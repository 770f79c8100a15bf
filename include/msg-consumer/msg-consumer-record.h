/* SPDX-License-Identifier: Apache-2.0 */
#ifndef MSG_CONSUMER_RECORD_H
#define MSG_CONSUMER_RECORD_H

/**
 * @file
 * The public records of the C API.
 *
 * Conventions that hold for every record:
 * - **Layout.** Order and width of the members are the library's binary interface. Members whose meaning belongs
 *   to the message store are named by kind and position; the meaning given here is that of the store which comes
 *   with the library.
 * - **Ownership.** Records are zero-filled heap blocks. Strings, lists and records that hang on a record belong to
 *   it. A whole record is released by its `msg_consumer_free_*` function, never piece by piece.
 * - **Strings** are UTF-8 and end with a NUL. They may be empty; where a member may be NULL, it says so.
 * - **Times** are seconds since 1970-01-01 00:00 UTC in 32 bits. The store keeps 64-bit milliseconds; they are
 *   divided by 1000 toward zero and cut to 32 bits, so that a time after 2038-01-19 wraps.
 * - **Flags** are 0 or 1.
 */

#include <glib.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * A list handle: a cell on the C heap that holds the head of a list. The application makes an empty one with
 * `calloc(1, sizeof(msg_list_handle_t))`, a query appends to it, and the matching `msg_consumer_free_*_list`
 * releases elements, list and cell.
 */
typedef struct {
  GSList* list; /**< first node, NULL for an empty list; a node's `data` is the record, or NULL where memory ran out */
} msg_list_handle_t;

/** An address: a participant of a thread, or a sender or receiver of a message. */
typedef struct {
  int num_1;      /**< row id */
  int num_2;      /**< kind: 1 phone number, 2 e-mail, 3 chat user */
  int num_3;      /**< role: 0 any, 1 from, 2 to, 3 cc */
  uint8_t flag_4; /**< the device's own address */
  char* address;  /**< the address itself */
} msg_address_item_t;

/** Network-store metadata of one part of a message. */
typedef struct {
  int num_1;    /**< first number */
  int num_2;    /**< second number */
  char* text_3; /**< first text, may be NULL */
  char* text_4; /**< second text, may be NULL */
  char* text_5; /**< third text, may be NULL */
  int num_6;    /**< third number */
} msg_nms_content_meta_t;

/** One part of a message: its body or an attachment. */
typedef struct {
  int content_id;                           /**< identifier of the part */
  int num_2;                                /**< id of the message */
  int kind;                                 /**< 1 text, 2 image, 3 video, 4 audio, 5 other */
  int flag_4;                               /**< is the body */
  int flag_5;                               /**< is on the device */
  int status;                               /**< transfer: 0 none, 1 waiting, 2 running, 3 done, 4 failed */
  char* text_7;                             /**< file path */
  char* text_8;                             /**< file name */
  char* text_9;                             /**< path of the thumbnail */
  char* text_10;                            /**< MIME type */
  char* text_11;                            /**< content id within the message */
  char* text_12;                            /**< text of a text part */
  int reserved_13;                          /**< always 0 */
  msg_nms_content_meta_t* nms_content_meta; /**< metadata of the network store, NULL when there is none */
} msg_content_item_t;

/** Network-store metadata that ties a message to an object of the network message store. */
typedef struct {
  int msg_id;           /**< id of the local message */
  char* meta_str1;      /**< object id */
  char* meta_str2;      /**< correlation id */
  char* meta_str3;      /**< folder path */
  char* meta_str4;      /**< resource URL */
  int meta_int1;        /**< sync state: 0 in step, 1 sync required, 2 running, 3 failed */
  int meta_int2;        /**< download state: 0 none, 1 required, 2 running, 3 done, 4 failed */
  int64_t meta_int64_1; /**< last modified, in milliseconds since 1970 */
  int64_t meta_int64_2; /**< notified at, in milliseconds since 1970 */
  bool meta_flag1;      /**< seen */
  bool meta_flag2;      /**< deleted */
  bool meta_flag3;      /**< correlated with a local message */
} msg_nms_msg_meta_data_t;

/** Subscription state of the network message store. */
typedef struct {
  uint64_t noti_index; /**< position up to which notifications have been taken */
  char* restart_token; /**< token with which the subscription is resumed */
} msg_nms_mssi_info_t;

/** One message with everything that belongs to it. */
typedef struct {
  int msg_id;                        /**< identifier of the message */
  int num_2;                         /**< type: 1 SMS, 2 MMS, 3 group chat */
  char* text_3;                      /**< body text */
  int num_4;                         /**< thread id */
  int num_5;                         /**< direction: 1 incoming, 2 outgoing, 3 draft */
  int num_6;                         /**< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed */
  int network_status;                /**< network status, passed through */
  uint8_t flag_8;                    /**< read */
  int time_sec;                      /**< sent or received at, in seconds */
  int num_10;                        /**< delivery report: 0 none, 1 requested, 2 received */
  int num_11;                        /**< SIM index */
  int num_12;                        /**< size of all parts, in bytes */
  int flag_13;                       /**< exported to the phone */
  int num_14;                        /**< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed */
  uint8_t flag_15;                   /**< blocked */
  uint8_t flag_16;                   /**< locked against deletion */
  char* text_17;                     /**< subject */
  char* text_18;                     /**< sender's address */
  char* text_19;                     /**< the phone's own id of the message, NULL when it has none */
  GSList* address_list;              /**< `msg_address_item_t` per participant */
  GSList* content_list;              /**< `msg_content_item_t` per part */
  msg_nms_msg_meta_data_t* nms_meta; /**< network-store metadata, NULL where number sync is not supported */
} msg_message_item_t;

/** One conversation thread with its counts and its last message. */
typedef struct {
  int thread_id;   /**< identifier of the thread */
  char* text_2;    /**< title: the participants joined, or the group's name */
  char* text_3;    /**< text of the last message */
  char* text_4;    /**< group-chat id, empty for other threads */
  int time_sec;    /**< time of the last message, in seconds */
  int num_6;       /**< number of all messages */
  int num_7;       /**< number of unread messages */
  int flag_8;      /**< is a group chat */
  int num_9;       /**< always 0 */
  int num_10;      /**< SIM index of the last message */
  int num_11;      /**< type of the last message */
  int num_12;      /**< direction of the last message */
  int num_13;      /**< number of participants */
  uint8_t flag_14; /**< has a failed message */
  uint8_t flag_15; /**< has a draft */
  int num_16;      /**< delivery of the last message */
} msg_thread_view_t;

/** One message as it is shown inside its thread. */
typedef struct {
  int msg_id;           /**< identifier of the message */
  int num_2;            /**< type: 1 SMS, 2 MMS, 3 group chat */
  char* text_3;         /**< body text */
  int num_4;            /**< thread id */
  int num_5;            /**< delivery: 0 none, 1 queued, 2 sending, 3 sent, 4 delivered, 5 failed */
  int num_6;            /**< direction: 1 incoming, 2 outgoing, 3 draft */
  int num_7;            /**< SIM index */
  int time_sec;         /**< sent or received at, in seconds */
  uint8_t flag_9;       /**< read */
  int num_10;           /**< delivery report: 0 none, 1 requested, 2 received */
  char* text_11;        /**< subject */
  char* text_12;        /**< sender's display name, or the address */
  int num_13;           /**< number of parts */
  int num_14;           /**< size of all parts, in bytes */
  int flag_15;          /**< exported to the phone */
  char* text_16;        /**< the phone's own id of the message, NULL when it has none */
  char* text_17;        /**< sender's address */
  int num_18;           /**< MMS retrieval: 0 none, 1 needed, 2 running, 3 done, 4 failed */
  uint8_t flag_19;      /**< blocked */
  uint8_t flag_20;      /**< locked against deletion */
  GSList* content_list; /**< `msg_content_item_t` per part */
} msg_conversation_view_t;

/**
 * What a message list is to hold. The application fills it; a zero-filled one means every message, newest first.
 */
typedef struct {
  int num_1;      /**< offset: how many matching messages to skip; negative is refused */
  int num_2;      /**< limit: how many messages at most, 0 for no limit; negative is refused */
  int thread_id;  /**< only messages of this thread, 0 for every thread */
  char* keyword;  /**< only messages whose body, subject or any address contains it, without regard to case; NULL or
                       empty for every message; must be UTF-8 */
  uint8_t flag_5; /**< 0 newest first, 1 oldest first */
  uint8_t flag_6; /**< 1 only unread messages */
} msg_list_condition_t;

#ifdef __cplusplus
}
#endif

#endif
