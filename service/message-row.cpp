// SPDX-License-Identifier: Apache-2.0
#include "message-row.hpp"

#include <limits>
#include <stdexcept>

#include <msg-consumer-platform/logging.hpp>

#include "schema/row-codec.hpp"

namespace msg_consumer::service {

namespace {

Message columns_of_row(const schema::Statement& row) {
  Message message;
  message.id = static_cast<int>(row.integer(0));
  message.num_b = static_cast<int>(row.integer(1));
  message.num_c = static_cast<int>(row.integer(2));
  message.num_f = static_cast<int>(row.integer(3));
  message.time_ms = row.integer(4);
  message.flag_j = static_cast<std::uint8_t>(row.integer(5));
  message.flag_k = static_cast<std::uint8_t>(row.integer(6));
  return message;
}

}  // namespace

Message message_of_row(const schema::Statement& row, std::string* sender_name) {
  Message message = columns_of_row(row);
  if (!schema::unpack_message(row.blob(7), message, sender_name)) {
    throw schema::SqliteError(SQLITE_CORRUPT, "message " + std::to_string(message.id) + " cannot be unpacked");
  }
  return message;
}

Message message_or_columns_of_row(const schema::Statement& row) {
  Message message = columns_of_row(row);
  if (schema::unpack_message(row.blob(7), message, nullptr)) {
    return message;
  }
  LOG_ERROR(HERE, "[ERROR] message (%d) is damaged: its thread knows it by its columns alone", message.id);
  // A blob that breaks off has left a part of itself.
  return columns_of_row(row);
}

int checked_id(std::int64_t id) {
  if (id > std::numeric_limits<int>::max()) {
    throw std::overflow_error("no ids left");
  }
  return static_cast<int>(id);
}

}  // namespace msg_consumer::service
