// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_ROWS_HPP
#define MSG_CONSUMER_STORE_ROWS_HPP

// The columns that queries select, and the records made from them.

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/Thread.h>

#include "schema/sqlite.hpp"

// String literals, so that each query's SQL is put together by the compiler. A macro per list of columns stands next
// to the function that reads them.

/// Of `message` as m.
#define ROW_COLUMNS "m.id, m.thread_id, m.type, m.delivery, m.time_ms, m.is_read, m.is_locked, m.packed"

/// Of `message` as m and `nms_meta` as n.
#define MESSAGE_COLUMNS                                                                                               \
  ROW_COLUMNS                                                                                                         \
  ", n.id, n.message_id, n.object_id, n.correlation_id, n.folder_path, n.resource_url, n.modified_ms, n.notified_ms," \
  " n.sync_state, n.download_state, n.is_seen, n.is_deleted, n.is_correlated"

/// Of `thread`.
#define THREAD_COLUMNS                                                                                              \
  "id, unread_count, last_type, last_direction, draft_count, failed_count, message_count, last_sim, last_delivery," \
  " last_time_ms, participant_count, title, last_text, group_chat_id, is_group"

/// Of `thread_address` as a.
#define ADDRESS_COLUMNS "a.id, a.kind, a.address, a.is_own"

namespace msg_consumer::db {

// Each reads the row that the statement stands on into a default-constructed record. Throws `StoreError` for a row
// that is damaged.
void read_row(const schema::Statement& row, Message& message);
void read_row(const schema::Statement& row, Conversation& conversation);
void read_row(const schema::Statement& row, Thread& thread);
void read_row(const schema::Statement& row, Address& address);

}  // namespace msg_consumer::db

#endif
