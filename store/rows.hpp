// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_ROWS_HPP
#define MSG_CONSUMER_STORE_ROWS_HPP

// The records made from the rows that queries select.

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>

#include "schema/sqlite.hpp"

namespace msg_consumer::db {

// Each reads the row that the statement stands on into a default-constructed record. Throws `StoreError` for a row
// that is damaged.
void read_row(const schema::Statement& row, Message& message);
void read_row(const schema::Statement& row, Conversation& conversation);
void read_row(const schema::Statement& row, Thread& thread);
void read_row(const schema::Statement& row, Address& address);
void read_row(const schema::Statement& row, NmsMsgMeta& meta);

}  // namespace msg_consumer::db

#endif
