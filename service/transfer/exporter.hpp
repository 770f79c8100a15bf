// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_EXPORTER_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_EXPORTER_HPP

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "../content-files.hpp"
#include "record-writer.hpp"
#include "records.hpp"

namespace msg_consumer::service::transfer {

/// Writes the store, as it is at one moment, line by line. What it reads is one transaction of a connection of its
/// own, which keeps the write-ahead log from being shortened as long as it lasts.
class Exporter {
 public:
  /// Throws `SqliteError`.
  Exporter(const std::string& database_path, const ContentFiles& files);

  /// Appends lines until there are about `size` bytes, or all has been written. Throws `SqliteError`.
  void produce(std::string& out, std::size_t size);
  bool finished() const { return _stage == Stage::FINISHED; }

  /// A JSON object that says what was written, and what could not be.
  std::string summary() const;

 private:
  enum class Stage { HEADER, THREADS, MESSAGES, METADATA, SUBSCRIPTION, END, FINISHED };

  struct File {
    FileDescriptor descriptor;
    std::int64_t left;
  };

  void produce_some(std::string& out);
  void write(std::string& out, const Line& line);
  StoreHeader header();
  void write_thread(std::string& out);
  void write_message(std::string& out);
  void write_stored(std::string& out, MessageRecord& record);
  void open_files(MessageRecord& record);
  std::int64_t open_file(const std::string& path);
  void write_data(std::string& out);
  std::vector<NmsMsgMeta> metadata_of(int message_id);
  void write_lone_metadata(std::string& out);
  void write_subscription(std::string& out);
  void note_damaged(std::int64_t id);

  const ContentFiles& _files;
  schema::Database _database;
  schema::Statement _threads;
  schema::Statement _participants;
  schema::Statement _messages;
  schema::Statement _metadata_of;
  schema::Statement _lone_metadata;
  Stage _stage = Stage::HEADER;
  bool _has_metadata = false;
  std::deque<File> _open_files;
  Counts _written;
  std::int64_t _files_written = 0;
  std::int64_t _files_missing = 0;
  std::int64_t _mended = 0;
  std::int64_t _damaged = 0;
  std::vector<std::int64_t> _damaged_ids;
};

}  // namespace msg_consumer::service::transfer

#endif
