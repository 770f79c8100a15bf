// SPDX-License-Identifier: Apache-2.0
#include "store-writer.hpp"

#include <msg-consumer-platform/logging.hpp>

#include "database-file.hpp"
#include "schema/schema.hpp"

namespace msg_consumer::service {

namespace {

constexpr int CHECKPOINT_PAGES = 1000;

// 16 MiB. While readers overlap, a passive checkpoint never starts the log again from its beginning.
constexpr int LONG_LOG_PAGES = 4096;
constexpr int READER_PATIENCE_MS = 250;

}  // namespace

StoreWriter::StoreWriter(const std::string& path)
    : _database(open_database_file(path)),
      _threads(_database.get()),
      _messages(_database.get(), _threads),
      _nms_box(_database.get()),
      _change_log(_database.get()),
      _device_requests(_database.get()) {
  sqlite3_wal_hook(_database.get(), on_commit, this);
}

StoreWriter::~StoreWriter() {
  // PASSIVE: what readers still need stays in the log, for the next checkpoint.
  const int result = sqlite3_wal_checkpoint_v2(_database.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  if (result != SQLITE_OK) {
    LOG_ERROR(HERE, "[ERROR] sqlite3_wal_checkpoint_v2() failed: (%d)", result);
  }
}

int StoreWriter::on_commit(void* writer, sqlite3* database, const char* name, int pages) {
  auto& self = *static_cast<StoreWriter*>(writer);
  self._log_pages = pages;
  if (pages < LONG_LOG_PAGES) {
    self._next_attempt = LONG_LOG_PAGES;
  }
  if (pages >= CHECKPOINT_PAGES) {
    // What readers still need is left for a later one.
    static_cast<void>(sqlite3_wal_checkpoint_v2(database, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr));
  }
  return SQLITE_OK;
}

void StoreWriter::shorten_log() noexcept {
  if (_log_pages < LONG_LOG_PAGES || _log_pages < _next_attempt) {
    return;
  }
  sqlite3_busy_timeout(_database.get(), READER_PATIENCE_MS);
  const int result = sqlite3_wal_checkpoint_v2(_database.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  sqlite3_busy_timeout(_database.get(), BUSY_TIMEOUT_MS);
  if (result == SQLITE_OK) {
    _log_pages = 0;
  } else {
    // One long reader must not delay every command.
    _next_attempt = _log_pages + CHECKPOINT_PAGES;
  }
}

// A commit that failed at the very end is whole in the log, where the recovery after a sudden death would find it, long
// after its files were removed and its caller was told that it failed. Something harmless is written over it.
void StoreWriter::bury_failed_commit() noexcept {
  try {
    schema::Transaction transaction(_database.get());
    // Unlike a row that stays as it is, this is always written.
    schema::execute(_database.get(), ("PRAGMA user_version = " + std::to_string(schema::SCHEMA_VERSION)).c_str());
    transaction.commit();
  } catch (const std::exception& error) {
    LOG_ERROR(HERE, "[ERROR] a failed change may come back after a crash: %s", error.what());
  }
}

std::string StoreWriter::id() const {
  schema::Statement statement(_database.get(), "SELECT id FROM store");
  return statement.step() ? std::string(statement.text(0)) : std::string();
}

}  // namespace msg_consumer::service
