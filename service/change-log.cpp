// SPDX-License-Identifier: Apache-2.0
#include "change-log.hpp"

#include <limits>

namespace msg_consumer::service {

ChangeLog::ChangeLog(sqlite3* database)
    : _next_revision(database, "SELECT COALESCE(MAX(revision), 0) + 1 FROM change_log"),
      _append(database, "INSERT INTO change_log (revision, signal, body) VALUES (?1, ?2, ?3)"),
      _trim(database, "DELETE FROM change_log WHERE revision <= ?1"),
      // The newest row stays, however long it is: the next revision is counted from it.
      _trim_bytes(database,
                  "DELETE FROM change_log WHERE revision < (SELECT MAX(revision) FROM change_log) AND revision <= "
                  "(SELECT revision FROM (SELECT revision, SUM(length(body)) OVER (ORDER BY revision DESC) AS total "
                  "FROM change_log) WHERE total > ?1 ORDER BY revision DESC LIMIT 1)"),
      _count_bytes(database, "SELECT COALESCE(SUM(length(body)), 0) FROM change_log"),
      _bounds(database, "SELECT COALESCE(MIN(revision), 0), COALESCE(MAX(revision), 0) FROM change_log"),
      _since(database, "SELECT revision, signal, body FROM change_log WHERE revision > ?1 ORDER BY revision LIMIT ?2") {
  _bytes = count_bytes();
}

Announcement ChangeLog::append(const Change& change) {
  const std::int64_t revision = next_revision();
  Announcement announcement{.signal = change.signal, .body = signal_text(change, revision)};
  _append.bind(1, revision).bind(2, announcement.signal).bind(3, announcement.body).run();
  _trim.bind(1, revision - CAPACITY).run();
  bound_bytes(announcement.body.size());
  return announcement;
}

std::vector<ChangeLog::Entry> ChangeLog::since(std::uint64_t revision, std::size_t limit, std::size_t max_bytes) {
  std::vector<Entry> entries;
  if (revision > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return entries;
  }
  const schema::ResetAtExit reset(_since);
  _since.bind(1, static_cast<std::int64_t>(revision)).bind(2, static_cast<std::int64_t>(limit));
  for (std::size_t bytes = 0; bytes < max_bytes && _since.step();) {
    entries.push_back(
        {.revision = _since.integer(0), .signal = std::string(_since.text(1)), .body = std::string(_since.text(2))});
    bytes += entries.back().body.size();
  }
  return entries;
}

ChangeLog::Bounds ChangeLog::bounds() {
  const schema::ResetAtExit reset(_bounds);
  _bounds.step();
  return {.oldest = _bounds.integer(0), .newest = _bounds.integer(1)};
}

std::int64_t ChangeLog::next_revision() {
  const schema::ResetAtExit reset(_next_revision);
  _next_revision.step();
  return _next_revision.integer(0);
}

std::int64_t ChangeLog::count_bytes() {
  const schema::ResetAtExit reset(_count_bytes);
  _count_bytes.step();
  return _count_bytes.integer(0);
}

// Counting is dear. What is remembered is too much after rows were dropped, so that a look is taken in time, and half
// of the room is made free at once.
void ChangeLog::bound_bytes(std::size_t added) {
  _bytes += static_cast<std::int64_t>(added);
  if (_bytes <= CAPACITY_BYTES) {
    return;
  }
  _bytes = count_bytes();
  if (_bytes > CAPACITY_BYTES) {
    _trim_bytes.bind(1, CAPACITY_BYTES / 2).run();
    _bytes = count_bytes();
  }
}

}  // namespace msg_consumer::service
