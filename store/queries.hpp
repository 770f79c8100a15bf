// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_QUERIES_HPP
#define MSG_CONSUMER_STORE_QUERIES_HPP

// The SQL of the queries. `rows.hpp` reads the columns, in the order in which they stand here.

// Macros, so that the compiler puts each text together.

/// Of `message` as m.
#define ROW_COLUMNS "m.id, m.thread_id, m.type, m.delivery, m.time_ms, m.is_read, m.is_locked, m.packed"

/// Of `nms_meta` as n.
#define NMS_META_COLUMNS                                                                                      \
  "n.message_id, n.object_id, n.correlation_id, n.folder_path, n.resource_url, n.modified_ms, n.notified_ms," \
  " n.sync_state, n.download_state, n.is_seen, n.is_deleted, n.is_correlated"

/// Of `message` as m and `nms_meta` as n.
#define MESSAGE_COLUMNS ROW_COLUMNS ", " NMS_META_COLUMNS

/// Of `thread`.
#define THREAD_COLUMNS                                                                                              \
  "id, unread_count, last_type, last_direction, draft_count, failed_count, message_count, last_sim, last_delivery," \
  " last_time_ms, participant_count, title, last_text, group_chat_id, is_group"

/// Of `thread_address` as a.
#define ADDRESS_COLUMNS "a.id, a.kind, a.address, a.is_own"

// The metadata that is not correlated: ?1 correlation id, ?2 type, ?3 whether deleted records count. A record without
// message is of no type, and so not of a group chat (type 3). By the index, even where all of it is read: the table
// also holds everything that is correlated.
#define SELECT_UNCORRELATED(compare_id)                    \
  "SELECT " NMS_META_COLUMNS                               \
  " FROM nms_meta AS n INDEXED BY nms_meta_by_correlation" \
  " LEFT JOIN message AS m ON m.id = n.message_id"         \
  " WHERE n.is_correlated = 0 AND " compare_id             \
  " AND (m.type IS 3) = ?2"                                \
  " AND (?3 OR n.is_deleted = 0) ORDER BY n.id"

// As in the indexes' conditions: 1 is required, 3 and 4 are failed.
#define NEEDS_SYNC "n.sync_state IN (1, 3)"
#define NEEDS_DOWNLOAD "n.download_state IN (1, 4) AND n.is_deleted = 0"

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

inline constexpr const char* SELECT_NMS_META =
    "SELECT " NMS_META_COLUMNS " FROM nms_meta AS n WHERE n.message_id = ?1 AND n.object_id = ?2";
inline constexpr const char* SELECT_NMS_META_OF_MESSAGE =
    "SELECT " NMS_META_COLUMNS " FROM nms_meta AS n WHERE n.message_id = ?1 ORDER BY n.id LIMIT 1";
inline constexpr const char* SELECT_NMS_META_OF_OBJECT =
    "SELECT " NMS_META_COLUMNS " FROM nms_meta AS n WHERE n.object_id = ?1 ORDER BY n.id LIMIT 1";

inline constexpr const char* SELECT_UNCORRELATED_BY_ID = SELECT_UNCORRELATED("n.correlation_id = ?1");
// A range, which the index finds. No stored text has the byte FF, it is none of UTF-8's.
inline constexpr const char* SELECT_UNCORRELATED_BY_PREFIX =
    SELECT_UNCORRELATED("n.correlation_id >= ?1 AND n.correlation_id < ?1 || CAST(x'FF' AS TEXT)");
inline constexpr const char* SELECT_UNCORRELATED_BY_PART =
    SELECT_UNCORRELATED("instr(CAST(n.correlation_id AS BLOB), CAST(?1 AS BLOB)) > 0");

inline constexpr const char* SELECT_SYNC_REQUIRED =
    "SELECT " NMS_META_COLUMNS " FROM nms_meta AS n WHERE " NEEDS_SYNC " AND (?1 OR n.is_deleted = 0) ORDER BY n.id";
inline constexpr const char* SELECT_DOWNLOAD_REQUIRED =
    "SELECT " NMS_META_COLUMNS " FROM nms_meta AS n WHERE " NEEDS_DOWNLOAD " ORDER BY n.id";
inline constexpr const char* SELECT_HAS_DOWNLOAD_REQUIRED =
    "SELECT EXISTS (SELECT 1 FROM nms_meta AS n WHERE " NEEDS_DOWNLOAD ")";
inline constexpr const char* SELECT_SUBSCRIPTION = "SELECT noti_index, restart_token FROM nms_subscription";

}  // namespace msg_consumer::db

#endif
