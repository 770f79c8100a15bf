// SPDX-License-Identifier: Apache-2.0
#include "change-log.hpp"

namespace msg_consumer::service {

ChangeLog::ChangeLog(sqlite3* database)
    : _next_revision(database, "SELECT COALESCE(MAX(revision), 0) + 1 FROM change_log"),
      _append(database, "INSERT INTO change_log (revision, signal, body) VALUES (?1, ?2, ?3)"),
      _trim(database, "DELETE FROM change_log WHERE revision <= ?1") {}

Announcement ChangeLog::append(const Change& change) {
  const std::int64_t revision = next_revision();
  Announcement announcement{.signal = change.signal, .body = signal_text(change, revision)};
  _append.bind(1, revision).bind(2, announcement.signal).bind(3, announcement.body).run();
  _trim.bind(1, revision - CAPACITY).run();
  return announcement;
}

std::int64_t ChangeLog::next_revision() {
  const schema::ResetAtExit reset(_next_revision);
  _next_revision.step();
  return _next_revision.integer(0);
}

}  // namespace msg_consumer::service
