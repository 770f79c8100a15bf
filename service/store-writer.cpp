// SPDX-License-Identifier: Apache-2.0
#include "store-writer.hpp"

#include <msg-consumer-platform/logging.hpp>

#include "database-file.hpp"

namespace msg_consumer::service {

StoreWriter::StoreWriter(const std::string& path)
    : _database(open_database_file(path)),
      _threads(_database.get()),
      _messages(_database.get(), _threads),
      _nms_box(_database.get()),
      _change_log(_database.get()),
      _device_requests(_database.get()) {}

StoreWriter::~StoreWriter() {
  // PASSIVE: what readers still need stays in the log, for the next checkpoint.
  const int result = sqlite3_wal_checkpoint_v2(_database.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  if (result != SQLITE_OK) {
    LOG_ERROR(HERE, "[ERROR] sqlite3_wal_checkpoint_v2() failed: (%d)", result);
  }
}

std::string StoreWriter::id() const {
  schema::Statement statement(_database.get(), "SELECT id FROM store");
  return statement.step() ? std::string(statement.text(0)) : std::string();
}

}  // namespace msg_consumer::service
