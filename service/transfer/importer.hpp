// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_IMPORTER_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_IMPORTER_HPP

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "../announcer.hpp"
#include "../content-files.hpp"
#include "../store-writer.hpp"
#include "imported-threads.hpp"
#include "known-messages.hpp"
#include "record-reader.hpp"
#include "records.hpp"

namespace msg_consumer::service::transfer {

/// Why an import ended before the end of its file.
struct ImportError {
  std::string reason;  ///< a word for programs
  std::string what;    ///< words for people
  std::int64_t line = 0;
  std::size_t column = 0;
  std::string member = {};
};

/// Adds the records of an exported store, which comes in pieces, to the store. What the store holds already is left as
/// it is. Works in small steps, each of which commits what it changes: what was committed stays, however it ends.
class Importer {
 public:
  Importer(StoreWriter& store, const ContentFiles& files, Announcer& announcer);

  void feed(std::string_view bytes);
  void end_input() { _input_ended = true; }
  /// Whether it can go no further without more bytes.
  bool hungry() const;

  /// Does a small step.
  void work() noexcept;
  bool finished() const { return _finished; }
  /// Keeps what was read so far, and ends.
  void give_up(ImportError error) noexcept;

  /// A JSON object that says what was added, what was there already, and what went wrong.
  std::string summary() const;

 private:
  /// What happens to each record of a kind.
  struct Tally {
    std::int64_t added = 0;
    std::int64_t present = 0;
    std::int64_t skipped = 0;
  };

  struct Tallies {
    Tally messages;
    Tally metadata;
    Tally subscription;
    std::int64_t files = 0;
    std::int64_t not_sent = 0;  // were on their way, and have failed now
  };

  /// What one line, and the data behind it, asks for.
  struct Item {
    std::optional<MessageRecord> message = {};
    std::optional<IncomingFiles> files = {};
    std::vector<std::string> file_digests = {};
    int present_id = 0;
    std::vector<NmsMsgMeta> metadata = {};  // of `present_id`
    std::optional<NmsMsgMeta> lone_metadata = {};
    std::optional<SubscriptionRecord> subscription = {};
  };

  /// What a batch did to the store.
  struct Effect {
    Tallies tallies;
    std::vector<int> message_ids;
    std::set<int> thread_ids;
    bool has_changed = false;
  };

  void step();
  std::optional<std::string_view> next_line();
  void take(std::string_view line);
  void take_record(StoreHeader& header);
  void take_record(ThreadRecord& thread);
  void take_record(MessageRecord& message);
  void take_record(DataRecord& data);
  void take_record(NmsMsgMeta& metadata);
  void take_record(SubscriptionRecord& subscription);
  void take_record(EndRecord& end);
  void check_thread(const MessageRecord& record);
  void begin_files();
  void settle_message();
  void add_to_batch(Item item);
  void end();

  void commit();
  void apply(Item& item, Effect& effect);
  void add_message(Item& item, Effect& effect);
  void number(Message& message);
  void place_files(Item& item);
  int thread_of(const Message& message);
  void add_metadata(NmsMsgMeta meta, bool may_be_present, Effect& effect);
  void add_lone_metadata(NmsMsgMeta meta, Effect& effect);
  void add_subscription(const SubscriptionRecord& subscription, Effect& effect);
  void add_waiting_threads(Effect& effect);
  bool never_held_anything();
  void reserve_ids();
  bool message_exists(int id);
  bool takes_id(std::unordered_set<int>& taken, int id, std::int64_t last) const;

  StoreWriter& _store;
  const ContentFiles& _files;
  Announcer& _announcer;
  KnownMessages _known;
  ImportedThreads _threads;
  schema::Statement _message_exists;

  std::string _buffer;
  std::size_t _position = 0;  // of what was not read yet
  std::size_t _searched = 0;  // up to here there is no end of a line
  bool _input_ended = false;
  std::int64_t _line = 0;

  std::optional<StoreHeader> _header;
  Counts _read;
  bool _end_was_read = false;
  bool _finished = false;
  bool _store_was_empty;
  bool _keeps_ids = false;
  bool _ids_are_reserved = false;
  std::unordered_set<int> _part_ids;
  std::unordered_set<int> _address_ids;

  std::optional<Item> _item;      // a message that waits for its data, or to be compared
  std::size_t _next_part = 0;     // the first part whose file was not begun
  std::int64_t _data_wanted = 0;  // bytes of the file that was begun
  std::int64_t _unflushed = 0;
  Hash _hash;

  std::vector<Item> _batch;
  std::size_t _batch_bytes = 0;
  std::int64_t _committed_line = 0;
  Tallies _tallies;
  std::optional<ImportError> _error;
};

}  // namespace msg_consumer::service::transfer

#endif
