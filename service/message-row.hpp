// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_MESSAGE_ROW_HPP
#define MSG_CONSUMER_SERVICE_MESSAGE_ROW_HPP

#include <msg-consumer-common/Message.h>

#include <cstdint>
#include <string>

#include "schema/sqlite.hpp"

namespace msg_consumer::service {

/// The columns that `message_of_row` reads, in its order.
#define MESSAGE_COLUMNS "id, thread_id, type, delivery, time_ms, is_read, is_locked, packed"

/// The message at which the statement stands. Throws `SqliteError` for a row that cannot be unpacked. `sender_name`
/// may be null.
Message message_of_row(const schema::Statement& row, std::string* sender_name);

/// The same, but of a row that cannot be unpacked what its columns say: a damaged message must not block its thread.
Message message_or_columns_of_row(const schema::Statement& row);

/// Ids travel in 32 bits.
int checked_id(std::int64_t id);

}  // namespace msg_consumer::service

#endif
