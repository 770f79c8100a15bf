// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_STORE_WRITER_HPP
#define MSG_CONSUMER_SERVICE_STORE_WRITER_HPP

#include <optional>
#include <string>

#include "change-log.hpp"
#include "device-requests.hpp"
#include "messages.hpp"
#include "nms-box.hpp"
#include "schema/sqlite.hpp"
#include "threads.hpp"

namespace msg_consumer::service {

/// The only writer of the message store.
class StoreWriter {
 public:
  explicit StoreWriter(const std::string& path);
  ~StoreWriter();
  StoreWriter(const StoreWriter&) = delete;
  StoreWriter& operator=(const StoreWriter&) = delete;

  /// Random, and kept for the database's life.
  std::string id() const;

  /// Empties the write-ahead log once it has grown long. Waits a moment for readers: not while a caller waits.
  void shorten_log() noexcept;

  Threads& threads() { return _threads; }
  Messages& messages() { return _messages; }
  NmsBox& nms_box() { return _nms_box; }
  DeviceRequests& device_requests() { return _device_requests; }
  ChangeLog& change_log() { return _change_log; }
  /// For what reads and writes rows as they are; inside `transact` or `commit`.
  sqlite3* database() { return _database.get(); }

  /// Runs `work` in a transaction: committed when this returns, undone when it throws.
  template <typename Work>
  void transact(Work&& work) {
    commit_if([&] {
      work();
      return true;
    });
  }

  /// Runs `work` in a transaction and numbers the `std::optional<Change>` that it returns: committed when this returns,
  /// undone when it throws or there is no change.
  template <typename Work>
  std::optional<Announcement> commit(Work&& work) {
    std::optional<Announcement> announcement;
    commit_if([&] {
      if (const std::optional<Change> change = work()) {
        announcement = _change_log.append(*change);
      }
      return announcement.has_value();
    });
    return announcement;
  }

 private:
  /// Runs `work` in a transaction that is committed when it returns true.
  template <typename Work>
  void commit_if(Work&& work) {
    bool is_committing = false;
    try {
      schema::Transaction transaction(_database.get());
      if (work()) {
        is_committing = true;
        transaction.commit();
      }
    } catch (...) {
      if (is_committing) {
        bury_failed_commit();
      }
      throw;
    }
  }

  void bury_failed_commit() noexcept;
  static int on_commit(void* writer, sqlite3* database, const char* name, int pages);

  schema::Database _database;
  Threads _threads;
  Messages _messages;
  NmsBox _nms_box;
  ChangeLog _change_log;
  DeviceRequests _device_requests;
  int _log_pages = 0;
  int _next_attempt = 0;
};

}  // namespace msg_consumer::service

#endif
