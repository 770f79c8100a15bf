// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_QUERIES_HPP
#define MSG_CONSUMER_STORE_QUERIES_HPP

// The SQL of the queries. `rows.hpp` reads the columns, in the order in which they stand here.

// Macros, so that the compiler puts each text together.

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

inline constexpr const char* SELECT_MESSAGE =
    "SELECT " MESSAGE_COLUMNS " FROM message AS m LEFT JOIN nms_meta AS n ON n.id = m.nms_meta_id WHERE m.id = ?";
inline constexpr const char* SELECT_CONVERSATION = "SELECT " ROW_COLUMNS " FROM message AS m WHERE m.id = ?";
inline constexpr const char* SELECT_CONVERSATIONS =
    "SELECT " ROW_COLUMNS " FROM message AS m WHERE m.thread_id = ? ORDER BY m.time_ms, m.id";
inline constexpr const char* SELECT_THREAD = "SELECT " THREAD_COLUMNS " FROM thread WHERE id = ?";
inline constexpr const char* SELECT_THREADS =
    "SELECT " THREAD_COLUMNS " FROM thread ORDER BY last_time_ms DESC, id DESC";
// The thread is in the first row even when it has no addresses.
inline constexpr const char* SELECT_ADDRESSES =
    "SELECT " ADDRESS_COLUMNS
    " FROM thread AS t LEFT JOIN thread_address AS a ON a.thread_id = t.id WHERE t.id = ? ORDER BY a.id";
// Several groups may have the same participants, and a thread that is no group comes before them.
inline constexpr const char* SELECT_THREAD_OF_ADDRESSES =
    "SELECT id FROM thread WHERE address_key = ? ORDER BY is_group, id LIMIT 1";

}  // namespace msg_consumer::db

#endif
