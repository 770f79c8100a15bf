// SPDX-License-Identifier: Apache-2.0
#include "known-messages.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "../message-row.hpp"
#include "../status.hpp"

namespace msg_consumer::service::transfer {
namespace {

constexpr std::int64_t ROWS_OF_A_STEP = 128;
constexpr std::size_t READS_OF_A_STEP = 16;
constexpr std::size_t BUFFER_SIZE = std::size_t{64} * 1024;

}  // namespace

KnownMessages::KnownMessages(sqlite3* database, const ContentFiles& files)
    : _files(files),
      _of_time(database,
               "SELECT message.id, thread_id, type, delivery, time_ms, is_read, is_locked, packed, group_chat_id "
               "FROM message JOIN thread ON thread.id = thread_id WHERE time_ms = ?1 AND message.id > ?2 "
               "ORDER BY message.id LIMIT ?3") {}

bool KnownMessages::learn(std::int64_t time_ms) {
  if (_times.contains(time_ms) && !_reading && _candidates.empty()) {
    return true;
  }
  if (!_candidates.empty()) {
    read_file();
    return false;
  }
  if (!_reading) {
    _reading = time_ms;
    _last_id = 0;
  }
  read_rows();
  return !_reading && _candidates.empty();
}

std::optional<int> KnownMessages::take(const std::string& digest) {
  const auto found = _ids.find(digest);
  if (found == _ids.end() || found->second.empty()) {
    return std::nullopt;
  }
  const int id = found->second.back();
  found->second.pop_back();
  return id;
}

void KnownMessages::read_rows() {
  const schema::ResetAtExit reset(_of_time);
  _of_time.bind(1, *_reading).bind(2, _last_id).bind(3, ROWS_OF_A_STEP);
  std::int64_t rows = 0;
  for (; _of_time.step(); ++rows) {
    _last_id = _of_time.integer(0);
    Candidate candidate;
    try {
      candidate.message = message_of_row(_of_time, nullptr);
    } catch (const schema::SqliteError&) {
      continue;  // A damaged message is like no other.
    }
    candidate.chat_id = _of_time.text(8);
    if (open_next_file(candidate)) {
      _candidates.push_back(std::move(candidate));
    } else {
      add(candidate);
    }
  }
  if (rows < ROWS_OF_A_STEP) {
    _times.insert(*_reading);
    _reading.reset();
  }
}

// A file that cannot be read counts as none.
bool KnownMessages::open_next_file(Candidate& candidate) {
  while (candidate.digests.size() < candidate.message.contents.size()) {
    const Content& part = candidate.message.contents[candidate.digests.size()];
    if (!part.str_g.empty()) {
      try {
        candidate.file = _files.open_stored(part.str_g);
        candidate.hash = Hash();
        return true;
      } catch (const Refusal&) {
      }
    }
    candidate.digests.emplace_back();
  }
  return false;
}

void KnownMessages::read_file() {
  Candidate& candidate = _candidates.front();
  if (!candidate.file && !open_next_file(candidate)) {
    add(candidate);
    _candidates.pop_front();
    return;
  }
  std::array<char, BUFFER_SIZE> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read() fills it
  for (std::size_t reads = 0; reads < READS_OF_A_STEP; ++reads) {
    const ssize_t count = read(candidate.file.get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      candidate.digests.push_back(count == 0 ? candidate.hash.digest() : std::string());
      candidate.file = FileDescriptor(-1);
      return;
    }
    candidate.hash.add({buffer.data(), static_cast<std::size_t>(count)});
  }
}

void KnownMessages::add(const Candidate& candidate) {
  _ids[digest_of(candidate.message, candidate.chat_id, candidate.digests)].push_back(candidate.message.id);
}

}  // namespace msg_consumer::service::transfer
