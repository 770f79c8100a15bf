// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_COMMON_DB_H
#define MSG_CONSUMER_COMMON_DB_H

// Queries on the message store.
//
// Conventions: every function returns a `Status`. Outputs are filled on success only; vectors arrive empty and are
// appended to. Lists of threads and messages come newest first (or as the condition says), conversations oldest
// first, ties by id. Nothing found is `DB_NO_RECORD`.
//
// A query opens the store itself when `init_db` has not been called; no connection to the service is needed. Queries
// may run on any thread: each thread has a connection of its own, closed at the thread's end or by `deinit_db`. `fork`
// waits for the queries that are running and closes all connections; parent and child open their own again. Queries
// do not wait for the writer. A lock that keeps one out all the same, during a recovery for example, is waited for
// about a second; then the status is `DB_LOCKED`.

#include <string>
#include <vector>

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>

namespace msg_consumer::db {

#pragma GCC visibility push(default)

enum Status {
  DB_OK = 0,
  DB_FAILED = -1,            ///< a failure with no code of its own
  DB_OUT_OF_MEMORY = -2,     ///< out of memory
  DB_INVALID_ARGUMENT = -3,  ///< an argument is out of range, null, empty or not UTF-8
  DB_NO_RECORD = -1101,      ///< no such record, nothing found
  DB_NO_STORE = -1102,       ///< the database file is missing: the service has never run here
  DB_NO_ACCESS = -1103,      ///< the database file may not be read
  DB_CORRUPT = -1104,        ///< the file is not a database of this store, or it is damaged
  DB_LOCKED = -1105,         ///< another process kept the database locked for too long
  DB_NEWER_SCHEMA = -1106,   ///< the database was written by a newer version
  DB_OLDER_SCHEMA = -1107,   ///< the database has not been migrated yet: start the service
};

/// Opens the store for the calling thread. May be repeated; one `deinit_db` closes.
int init_db();

/// Closes every thread's connection, at once where it is idle, otherwise at the end of the query that uses it.
int deinit_db();

/// Reads one message.
int db_get_message(int msgId, Message& message);

/// Reads the messages that match a condition.
int db_get_message_list(const ListCondition& condition, std::vector<Message>& list);

/// Reads one thread.
int db_get_thread(int threadId, Thread& thread);

/// Reads all threads.
int db_get_threads(std::vector<Thread>& list);

/// Reads one message as it is shown inside its thread.
int db_get_conversation(int msgId, Conversation& conversation);

/// Reads the messages of one thread as they are shown in it.
int db_get_conversations(int threadId, std::vector<Conversation>& list);

/// Reads the participants of a thread: `DB_NO_RECORD` when there is no such thread, `DB_OK` and nothing appended
/// when it has no participants.
int db_get_addresses(int threadId, std::vector<Address>& list);

/// Finds the thread whose participants are exactly `addresses`, compared after normalising and without regard to
/// order and repetition. Only the address texts count. `*threadId` is written on success only.
int db_check_thread_address_exist(const std::vector<Address>& addresses, int* threadId);

/// Reads the part of an outgoing message whose file is being transferred, or else its first attachment.
int db_get_sending_msg_content_info(int msgId, Content& content);

/// Reads the metadata with this message id and this object id. An id below 1 and an empty object id stand for any; one
/// of the two must be given. Of several records the first added is read.
int db_get_nms_msg_meta(int msgId, const std::string& objectId, NmsMsgMeta& meta);

// Lists of metadata hold what was added first first.

/// Reads the metadata that is not correlated with a local message and whose correlation id compares to `correlationId`
/// as `idType` says, byte by byte. `type` is that of the record's message; a record whose message does not exist counts
/// as `CORRELATION_MESSAGE`. `includeDeleted`: records that are marked deleted count too.
int db_get_uncorrelated_nms_msg_metas(const std::string& correlationId, NmsMsgMeta::CorrelationType type,
                                      NmsMsgMeta::CorrelationIdSearchType idType, bool includeDeleted,
                                      std::vector<NmsMsgMeta>& list);

/// Reads the metadata that still needs a sync: one is required, or the last has failed. `includeDeleted`: records that
/// are marked deleted count too.
int db_get_sync_required_nms_msg_metas(bool includeDeleted, std::vector<NmsMsgMeta>& list);

/// Reads the metadata whose message still needs a download: one is required, or the last has failed. Records that are
/// marked deleted need none.
int db_get_download_required_nms_msg_metas(std::vector<NmsMsgMeta>& list);

/// Reads the subscription's notification index and restart token. Both are written on success only.
int db_get_subscription_info(unsigned long long& notiIndex, std::string& restartToken);

/// Tells whether `db_get_download_required_nms_msg_metas` would find any. `*exist` is written on success only.
int db_has_download_required_message(bool* exist);

#pragma GCC visibility pop

}  // namespace msg_consumer::db

#endif
