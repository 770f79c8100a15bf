// SPDX-License-Identifier: Apache-2.0
#include "exporter.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

#include "../message-row.hpp"
#include "../status.hpp"

namespace msg_consumer::service::transfer {
namespace {

// Enough to look at; the number says how many there are.
constexpr std::size_t MAX_NAMED_DAMAGES = 100;

#define META_COLUMNS                                                                                         \
  "message_id, object_id, correlation_id, folder_path, resource_url, modified_ms, notified_ms, sync_state, " \
  "download_state, is_seen, is_deleted, is_correlated"

schema::Database open_snapshot(const std::string& path) {
  schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX);
  schema::execute(database.get(), "BEGIN");
  return database;
}

std::int64_t ask(sqlite3* database, std::string_view sql) {
  schema::Statement statement(database, sql);
  return statement.step() ? statement.integer(0) : 0;
}

NmsMsgMeta meta_of_row(const schema::Statement& row) {
  NmsMsgMeta meta;
  meta.msgId = static_cast<int>(row.integer(0));
  meta.metaStr1 = row.text(1);
  meta.metaStr2 = row.text(2);
  meta.metaStr3 = row.text(3);
  meta.metaStr4 = row.text(4);
  meta.metaInt64_1 = row.integer(5);
  meta.metaInt64_2 = row.integer(6);
  meta.metaInt1 = static_cast<int>(row.integer(7));
  meta.metaInt2 = static_cast<int>(row.integer(8));
  meta.metaFlag1 = row.integer(9) != 0;
  meta.metaFlag2 = row.integer(10) != 0;
  meta.metaFlag3 = row.integer(11) != 0;
  return meta;
}

std::string read_chunk(const FileDescriptor& file, std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t count = 0;
  while (count < size) {
    const ssize_t result = read(file.get(), bytes.data() + count, size - count);
    if (result == 0 || (result < 0 && errno != EINTR)) {
      // A stored file never shrinks, so this is a failing disk.
      throw std::system_error(result == 0 ? EIO : errno, std::generic_category(), "cannot read an attachment");
    }
    count += static_cast<std::size_t>(std::max<ssize_t>(result, 0));
  }
  return bytes;
}

}  // namespace

Exporter::Exporter(const std::string& database_path, const ContentFiles& files)
    : _files(files),
      _database(open_snapshot(database_path)),
      _threads(_database.get(), "SELECT id, is_group, group_chat_id, title FROM thread ORDER BY id"),
      _participants(_database.get(),
                    "SELECT id, kind, address, is_own FROM thread_address WHERE thread_id = ?1 ORDER BY id"),
      _messages(_database.get(), "SELECT " MESSAGE_COLUMNS " FROM message ORDER BY id"),
      _metadata_of(_database.get(), "SELECT " META_COLUMNS " FROM nms_meta WHERE message_id = ?1 ORDER BY id"),
      _lone_metadata(_database.get(), "SELECT " META_COLUMNS
                                      " FROM nms_meta WHERE message_id NOT IN (SELECT id FROM message) ORDER BY id") {}

void Exporter::produce(std::string& out, std::size_t size) {
  while (!finished() && out.size() < size) {
    produce_some(out);
  }
}

void Exporter::produce_some(std::string& out) {
  switch (_stage) {
    case Stage::HEADER:
      write(out, line_of(header()));
      _stage = Stage::THREADS;
      break;
    case Stage::THREADS:
      write_thread(out);
      break;
    case Stage::MESSAGES:
      _open_files.empty() ? write_message(out) : write_data(out);
      break;
    case Stage::METADATA:
      write_lone_metadata(out);
      break;
    case Stage::SUBSCRIPTION:
      write_subscription(out);
      _stage = Stage::END;
      break;
    case Stage::END:
      write(out, line_of(EndRecord{.counts = _written}));
      _stage = Stage::FINISHED;
      break;
    case Stage::FINISHED:
      break;
  }
}

void Exporter::write(std::string& out, const Line& line) {
  out += line.text;
  _mended += line.was_mended ? 1 : 0;
}

// The first look at the database is what the snapshot begins with.
StoreHeader Exporter::header() {
  sqlite3* database = _database.get();
  const auto last_of = [&](const std::string& table) {
    return ask(database, "SELECT seq FROM sqlite_sequence WHERE name = '" + table + "'");
  };
  const auto last_packed = [&](const std::string& name) {
    return ask(database, "SELECT last FROM sequence WHERE name = '" + name + "'");
  };
  StoreHeader header;
  header.counts = {.threads = ask(database, "SELECT count(*) FROM thread"),
                   .messages = ask(database, "SELECT count(*) FROM message"),
                   .metadata = ask(database, "SELECT count(*) FROM nms_meta")};
  header.last_ids = {.thread = last_of("thread"),
                     .participant = last_of("thread_address"),
                     .message = last_of("message"),
                     .part = last_packed("content"),
                     .address = last_packed("message_address")};
  _has_metadata = header.counts.metadata > 0;
  return header;
}

void Exporter::write_thread(std::string& out) {
  if (!_threads.step()) {
    _stage = Stage::MESSAGES;
    return;
  }
  ThreadRecord thread{.id = static_cast<int>(_threads.integer(0)),
                      .is_group = _threads.integer(1) != 0,
                      .chat_id = std::string(_threads.text(2)),
                      .title = std::string(_threads.text(3)),
                      .participants = {}};
  const schema::ResetAtExit reset(_participants);
  _participants.bind(1, thread.id);
  while (_participants.step()) {
    Address& address = thread.participants.emplace_back();
    address.num_a = static_cast<int>(_participants.integer(0));
    address.num_b = static_cast<int>(_participants.integer(1));
    address.address = _participants.text(2);
    address.flag_e = _participants.integer(3) != 0 ? 1 : 0;
  }
  write(out, line_of(thread));
  ++_written.threads;
}

void Exporter::write_message(std::string& out) {
  if (!_messages.step()) {
    _stage = Stage::METADATA;
    return;
  }
  const std::int64_t id = _messages.integer(0);
  MessageRecord record;
  record.metadata = metadata_of(static_cast<int>(id));
  try {
    record.stored.message = message_of_row(_messages, &record.stored.sender_name);
  } catch (const schema::SqliteError&) {
    // A damaged message must not cost the others, nor its own metadata.
    note_damaged(id);
    for (const NmsMsgMeta& meta : record.metadata) {
      write(out, line_of(meta));
      ++_written.metadata;
    }
    return;
  }
  write_stored(out, record);
}

void Exporter::write_stored(std::string& out, MessageRecord& record) {
  open_files(record);
  const Line line = line_of(record);
  if (line.text.size() > MAX_LINE_SIZE) {
    note_damaged(record.stored.message.id);
    _open_files.clear();
    return;
  }
  write(out, line);
  ++_written.messages;
  _written.metadata += static_cast<std::int64_t>(record.metadata.size());
}

// All of them before the line that tells their sizes: the message may be deleted meanwhile, and its files with it.
void Exporter::open_files(MessageRecord& record) {
  for (Content& part : record.stored.message.contents) {
    const std::int64_t size = part.str_g.empty() ? MessageRecord::NO_FILE : open_file(part.str_g);
    record.file_sizes.push_back(size);
    if (size == MessageRecord::NO_FILE && !part.str_g.empty()) {
      part.flag_d = 0;
      ++_files_missing;
    }
  }
}

std::int64_t Exporter::open_file(const std::string& path) try {
  FileDescriptor file = _files.open_stored(path);
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    return MessageRecord::NO_FILE;
  }
  ++_files_written;
  if (status.st_size > 0) {
    _open_files.push_back({.descriptor = std::move(file), .left = status.st_size});
  }
  return status.st_size;
} catch (const Refusal&) {
  return MessageRecord::NO_FILE;
}

void Exporter::write_data(std::string& out) {
  File& file = _open_files.front();
  const std::size_t size = std::min(CHUNK_SIZE, static_cast<std::size_t>(file.left));
  write(out, line_of(DataRecord{.bytes = read_chunk(file.descriptor, size)}));
  file.left -= static_cast<std::int64_t>(size);
  if (file.left == 0) {
    _open_files.pop_front();
  }
}

std::vector<NmsMsgMeta> Exporter::metadata_of(int message_id) {
  std::vector<NmsMsgMeta> result;
  if (!_has_metadata) {
    return result;
  }
  const schema::ResetAtExit reset(_metadata_of);
  _metadata_of.bind(1, message_id);
  while (_metadata_of.step()) {
    result.push_back(meta_of_row(_metadata_of));
  }
  return result;
}

void Exporter::write_lone_metadata(std::string& out) {
  if (!_has_metadata || !_lone_metadata.step()) {
    _stage = Stage::SUBSCRIPTION;
    return;
  }
  write(out, line_of(meta_of_row(_lone_metadata)));
  ++_written.metadata;
}

void Exporter::write_subscription(std::string& out) {
  schema::Statement row(_database.get(), "SELECT noti_index, restart_token FROM nms_subscription");
  if (row.step()) {
    write(out, line_of(SubscriptionRecord{.index = static_cast<std::uint64_t>(row.integer(0)),
                                          .token = std::string(row.text(1))}));
  }
}

void Exporter::note_damaged(std::int64_t id) {
  ++_damaged;
  if (_damaged_ids.size() < MAX_NAMED_DAMAGES) {
    _damaged_ids.push_back(id);
  }
}

std::string Exporter::summary() const {
  const nlohmann::ordered_json summary = {{"version", 1},
                                          {"threads", _written.threads},
                                          {"messages", _written.messages},
                                          {"metadata", _written.metadata},
                                          {"files", _files_written},
                                          {"files_missing", _files_missing},
                                          {"mended_lines", _mended},
                                          {"damaged_messages", _damaged},
                                          {"damaged_message_ids", _damaged_ids}};
  return summary.dump();
}

}  // namespace msg_consumer::service::transfer
