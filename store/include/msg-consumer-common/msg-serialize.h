// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_MSG_SERIALIZE_H
#define MSG_CONSUMER_COMMON_MSG_SERIALIZE_H

// Serialised records: what the service is sent when the network message store adds a message.

#include <msg-consumer/msg-consumer-record.h>

#pragma GCC visibility push(default)

/// Serialises a message. `*out` receives a NUL-terminated text on the C heap, which the caller releases with `free`.
/// Returns its length in bytes without the NUL, or 0 or less when it could not be made: a null argument, text that is
/// not UTF-8, a list with a missing element, a message of more than 4 MiB, out of memory. `*out` is then left alone.
int msg_serialize_message(const msg_message_item_t* message, char** out);

/// Serialises metadata of the network message store; otherwise as above.
int msg_serialize_nms_msg_meta(const msg_nms_msg_meta_data_t* meta, char** out);

#pragma GCC visibility pop

#endif
