// SPDX-License-Identifier: Apache-2.0
#include "importer.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "../nms-record.hpp"
#include "../record-values.hpp"
#include "../status.hpp"
#include "schema/address.hpp"

namespace msg_consumer::service::transfer {
namespace {

// A step must not keep other callers waiting for long.
constexpr std::size_t LINES_OF_A_STEP = 64;
constexpr std::size_t BYTES_OF_A_STEP = std::size_t{512} * 1024;
constexpr std::size_t MAX_BATCH = 250;
constexpr std::size_t MAX_BATCH_BYTES = std::size_t{2} * 1024 * 1024;
constexpr std::int64_t FLUSH_SIZE = std::int64_t{4} * 1024 * 1024;

// A file that claims greater ones would leave the store without ids.
constexpr std::int64_t GREATEST_KEPT_ID = 1'000'000'000;

ImportError error_of(Status status) {
  switch (status) {
    case STATUS_STORE_FULL:
      return {.reason = "store-full", .what = "there is no room left for the store"};
    case STATUS_FILE_COPY_FAILED:
      return {.reason = "files", .what = "an attachment could not be stored; there may be no room left"};
    case STATUS_STORE_BUSY:
      return {.reason = "store-busy", .what = "another process keeps the store locked"};
    case STATUS_OUT_OF_MEMORY:
      return {.reason = "out-of-memory", .what = "out of memory"};
    default:
      return {.reason = "failed", .what = "the service failed; its log says more"};
  }
}

bool are_kept(const LastIds& ids) {
  const auto all = {ids.thread, ids.participant, ids.message, ids.part, ids.address};
  return std::all_of(all.begin(), all.end(), [](std::int64_t id) { return id >= 0 && id <= GREATEST_KEPT_ID; }) &&
         ids.message > 0;
}

nlohmann::ordered_json json_of(std::int64_t added, std::int64_t present) {
  return {{"added", added}, {"present", present}};
}

}  // namespace

Importer::Importer(StoreWriter& store, const ContentFiles& files, Announcer& announcer)
    : _store(store),
      _files(files),
      _announcer(announcer),
      _known(store.database(), files),
      _threads(store.database()),
      _message_exists(store.database(), "SELECT 1 FROM message WHERE id = ?1"),
      _store_was_empty(never_held_anything()) {}

void Importer::feed(std::string_view bytes) {
  _searched = std::max(_searched, _position) - _position;
  _buffer.erase(0, _position);
  _position = 0;
  _buffer += bytes;
}

bool Importer::hungry() const {
  const bool waits_for_data = !_item || _data_wanted > 0;
  return !_finished && !_input_ended && waits_for_data &&
         _buffer.find('\n', std::max(_position, _searched)) == std::string::npos &&
         _buffer.size() - _position <= MAX_LINE_SIZE;
}

void Importer::work() noexcept {
  try {
    step();
  } catch (const BrokenRecord& error) {
    give_up(
        {.reason = "broken", .what = error.what(), .line = _line, .column = error.column(), .member = error.member()});
  } catch (...) {
    _finished = true;
    _error = error_of(status_of_current_exception());
  }
}

void Importer::give_up(ImportError error) noexcept {
  _error = std::move(error);
  try {
    _item.reset();
    commit();
  } catch (...) {
    _error = error_of(status_of_current_exception());
  }
  _finished = true;
}

void Importer::step() {
  if (_item && _data_wanted == 0) {
    settle_message();
    return;
  }
  std::size_t bytes = 0;
  for (std::size_t lines = 0; lines < LINES_OF_A_STEP && bytes < BYTES_OF_A_STEP; ++lines) {
    const std::optional<std::string_view> line = next_line();
    if (!line) {
      break;
    }
    bytes += line->size();
    take(*line);
    // Within the same step where nothing has to be read for it.
    if (_item && _data_wanted == 0) {
      if (!_store_was_empty) {
        return;
      }
      settle_message();
    }
    if (_batch.size() >= MAX_BATCH || _batch_bytes >= MAX_BATCH_BYTES) {
      commit();
      return;
    }
  }
  if (_input_ended && _position == _buffer.size() && !_finished) {
    end();
  }
}

std::optional<std::string_view> Importer::next_line() {
  const std::size_t end = _buffer.find('\n', std::max(_position, _searched));
  const bool is_last = end == std::string::npos && _input_ended && _position < _buffer.size();
  const std::size_t size = std::min(end, _buffer.size()) - _position;
  if (size > MAX_LINE_SIZE) {
    ++_line;
    throw BrokenRecord("the line is longer than " + std::to_string(MAX_LINE_SIZE) + " bytes");
  }
  if (end == std::string::npos && !is_last) {
    _searched = _buffer.size();
    return std::nullopt;
  }
  const std::string_view line(_buffer.data() + _position, size);
  _position = is_last ? _buffer.size() : end + 1;
  ++_line;
  return line;
}

void Importer::take(std::string_view line) {
  Record record = read_record(line);
  if (!_header && !std::holds_alternative<StoreHeader>(record)) {
    throw BrokenRecord("the first line must be of the kind \"store\"", "kind");
  }
  if (_end_was_read) {
    throw BrokenRecord("nothing may follow the line of the kind \"end\"", "kind");
  }
  if (_data_wanted > 0 && !std::holds_alternative<DataRecord>(record)) {
    throw BrokenRecord("a file of the message before is not whole", "kind");
  }
  // The data of a file goes to the disk at once.
  _batch_bytes += std::holds_alternative<DataRecord>(record) ? 0 : line.size();
  std::visit([this](auto& value) { take_record(value); }, record);
}

void Importer::take_record(StoreHeader& header) {
  if (_header) {
    throw BrokenRecord("there may be one line of the kind \"store\" only", "kind");
  }
  _header = header;
  _keeps_ids = _store_was_empty && are_kept(header.last_ids);
}

void Importer::take_record(ThreadRecord& thread) {
  if (!_threads.declare(std::move(thread))) {
    throw BrokenRecord("there is a thread with this id already", "id");
  }
  ++_read.threads;
}

void Importer::take_record(MessageRecord& message) {
  check_thread(message);
  ++_read.messages;
  _read.metadata += static_cast<std::int64_t>(message.metadata.size());
  // Made here: clang 14 cannot yet tell inside the class that an Item is made of nothing.
  _item.emplace(Item{});
  _item->message = std::move(message);
  _next_part = 0;
  begin_files();
}

void Importer::check_thread(const MessageRecord& record) {
  const Message& message = record.stored.message;
  if (message.num_b != 0) {
    if (!_threads.knows(message.num_b)) {
      throw BrokenRecord("there is no thread with this id before", "thread");
    }
    return;
  }
  const std::vector<std::string> others = correspondents(message);
  if (!schema::address_key(others)) {
    throw BrokenRecord("without a thread, there must be addresses, and none may be empty", "addresses");
  }
}

// Begins the files of the message up to the first that wants data.
void Importer::begin_files() {
  const MessageRecord& record = *_item->message;
  for (; _data_wanted == 0 && _next_part < record.file_sizes.size(); ++_next_part) {
    const std::int64_t size = record.file_sizes[_next_part];
    _item->file_digests.resize(_next_part + 1);
    if (size == MessageRecord::NO_FILE) {
      continue;
    }
    if (!_item->files) {
      _item->files.emplace(_files.stage());
    }
    const std::string& name = record.stored.message.contents[_next_part].str_h;
    _item->files->begin(name.empty() ? "file" : name);
    _hash = Hash();
    _data_wanted = size;
    _unflushed = 0;
    if (size == 0) {
      _item->files->finish();
      _item->file_digests.back() = _hash.digest();
    }
  }
}

void Importer::take_record(DataRecord& data) {
  const auto size = static_cast<std::int64_t>(data.bytes.size());
  if (size > _data_wanted) {
    throw BrokenRecord(_data_wanted == 0 ? "no file waits for data" : "this is more data than the file has", "base64");
  }
  _item->files->append(data.bytes);
  _hash.add(data.bytes);
  _data_wanted -= size;
  _unflushed += size;
  if (_data_wanted == 0) {
    _item->files->finish();
    _item->file_digests.back() = _hash.digest();
    begin_files();
  } else if (_unflushed >= FLUSH_SIZE) {
    _item->files->flush();
    _unflushed = 0;
  }
}

void Importer::take_record(NmsMsgMeta& metadata) {
  ++_read.metadata;
  add_to_batch({.lone_metadata = std::move(metadata)});
}

void Importer::take_record(SubscriptionRecord& subscription) {
  add_to_batch({.subscription = std::move(subscription)});
}

void Importer::take_record(EndRecord& end) {
  _end_was_read = true;
  if (end.counts != _read) {
    throw BrokenRecord("the file does not hold as much as its end says");
  }
}

void Importer::settle_message() {
  MessageRecord& record = *_item->message;
  Message& message = record.stored.message;
  if (!_store_was_empty) {
    if (!_known.learn(message.time_ms)) {
      return;
    }
    const std::string chat_id = message.num_b != 0 ? _threads.chat_id(message.num_b) : std::string();
    if (const std::optional<int> id = _known.take(digest_of(message, chat_id, _item->file_digests))) {
      Item present{.present_id = *id, .metadata = std::move(record.metadata)};
      _item.reset();
      add_to_batch(std::move(present));
      return;
    }
  }
  Item item = *std::move(_item);
  _item.reset();
  add_to_batch(std::move(item));
}

void Importer::add_to_batch(Item item) { _batch.push_back(std::move(item)); }

void Importer::end() {
  if (!_end_was_read) {
    ++_line;
    throw BrokenRecord("the file is cut off: the line of the kind \"end\" is missing");
  }
  commit();
  _finished = true;
}

void Importer::commit() {
  Effect effect;
  const bool is_end = _end_was_read && !_error;
  bool reserved = _ids_are_reserved;
  const std::optional<Announcement> announcement = _store.commit([&]() -> std::optional<Change> {
    if (_keeps_ids && !reserved) {
      // Somebody else may have been quicker.
      _keeps_ids = never_held_anything();
      if (_keeps_ids) {
        reserve_ids();
        reserved = true;
      }
    }
    for (Item& item : _batch) {
      apply(item, effect);
    }
    if (is_end) {
      add_waiting_threads(effect);
    }
    if (!effect.has_changed) {
      reserved = _ids_are_reserved;
      return std::nullopt;
    }
    return Change{.event = "added",
                  .message_ids = effect.message_ids,
                  .thread_ids = {effect.thread_ids.begin(), effect.thread_ids.end()}};
  });
  _ids_are_reserved = reserved;
  for (Item& item : _batch) {
    if (item.files) {
      item.files->keep();
    }
  }
  _batch.clear();
  _batch_bytes = 0;
  _committed_line = _line - (_error ? 1 : 0);
  const auto add = [](Tally& sum, const Tally& more) {
    sum.added += more.added;
    sum.present += more.present;
    sum.skipped += more.skipped;
  };
  add(_tallies.messages, effect.tallies.messages);
  add(_tallies.metadata, effect.tallies.metadata);
  add(_tallies.subscription, effect.tallies.subscription);
  _tallies.files += effect.tallies.files;
  _tallies.not_sent += effect.tallies.not_sent;
  if (announcement) {
    _announcer.announce(*announcement);
  }
}

void Importer::apply(Item& item, Effect& effect) {
  if (item.message) {
    add_message(item, effect);
  } else if (item.present_id != 0) {
    ++effect.tallies.messages.present;
    // It may have been deleted since it was found.
    const bool exists = item.metadata.empty() || message_exists(item.present_id);
    for (NmsMsgMeta& meta : item.metadata) {
      meta.msgId = exists ? item.present_id : 0;
      add_metadata(meta, true, effect);
    }
  } else if (item.lone_metadata) {
    add_lone_metadata(*item.lone_metadata, effect);
  } else if (item.subscription) {
    add_subscription(*item.subscription, effect);
  }
}

void Importer::add_message(Item& item, Effect& effect) {
  MessageRecord& record = *item.message;
  Message& message = record.stored.message;
  message.num_b = thread_of(message);
  number(message);
  // What was on its way there is not sent again from here.
  if (message.num_f == DELIVERY_QUEUED || message.num_f == DELIVERY_SENDING) {
    message.num_f = message.num_e == DIRECTION_OUTGOING ? DELIVERY_FAILED : DELIVERY_NONE;
    ++effect.tallies.not_sent;
  }
  place_files(item);
  _store.messages().restore(record.stored);
  ++effect.tallies.messages.added;
  effect.tallies.files += item.files ? static_cast<std::int64_t>(item.files->files().size()) : 0;
  effect.message_ids.push_back(message.id);
  effect.thread_ids.insert(message.num_b);
  effect.has_changed = true;
  for (NmsMsgMeta& meta : record.metadata) {
    meta.msgId = message.id;
    add_metadata(meta, false, effect);
  }
}

// The file's ids where they are kept and free, otherwise new ones.
void Importer::number(Message& message) {
  const bool keeps_id =
      _keeps_ids && message.id > 0 && message.id <= _header->last_ids.message && !message_exists(message.id);
  if (!keeps_id) {
    message.id = _store.messages().next_id();
  }
  for (Address& address : message.addresses) {
    if (!takes_id(_address_ids, address.num_a, _header->last_ids.address)) {
      address.num_a = 0;
    }
  }
  for (Content& part : message.contents) {
    part.num_b = message.id;
    if (!takes_id(_part_ids, part.id, _header->last_ids.part)) {
      part.id = 0;
    }
  }
}

bool Importer::takes_id(std::unordered_set<int>& taken, int id, std::int64_t last) const {
  return _keeps_ids && id > 0 && id <= last && taken.insert(id).second;
}

void Importer::place_files(Item& item) {
  if (!item.files) {
    return;
  }
  MessageRecord& record = *item.message;
  Message& message = record.stored.message;
  _files.place(*item.files, message.id, 1);
  std::size_t next = 0;
  for (std::size_t index = 0; index < message.contents.size(); ++index) {
    if (record.file_sizes[index] != MessageRecord::NO_FILE) {
      message.contents[index].str_g = item.files->files()[next++].stored_path;
    }
  }
}

int Importer::thread_of(const Message& message) {
  if (message.num_b != 0) {
    return _threads.store_id(message.num_b, _keeps_ids);
  }
  const std::vector<std::string> others = correspondents(message);
  Threads& threads = _store.threads();
  return message.num_c == TYPE_GROUP_CHAT ? threads.find_or_make_group(others).id : threads.find_or_make(others).id;
}

// What the store knows of an object is newer than the file.
void Importer::add_metadata(NmsMsgMeta meta, bool may_be_present, Effect& effect) {
  if (meta.msgId < 1 && meta.metaStr1.empty()) {
    ++effect.tallies.metadata.skipped;
    return;
  }
  if (may_be_present && _store.nms_box().find(meta.msgId, meta.metaStr1)) {
    ++effect.tallies.metadata.present;
    return;
  }
  if (_store.nms_box().put(meta)) {
    effect.has_changed = true;
    if (meta.msgId > 0 && (effect.message_ids.empty() || effect.message_ids.back() != meta.msgId)) {
      effect.message_ids.push_back(meta.msgId);
    }
  }
  ++effect.tallies.metadata.added;
}

// The id of a message that is gone means nothing in a store with other ids.
void Importer::add_lone_metadata(NmsMsgMeta meta, Effect& effect) {
  const bool keeps_id = _keeps_ids && meta.msgId <= _header->last_ids.message && !message_exists(meta.msgId);
  if (!keeps_id) {
    meta.msgId = 0;
  }
  if (_keeps_ids && _store.nms_box().put(meta)) {
    effect.has_changed = true;
    ++effect.tallies.metadata.added;
    return;
  }
  add_metadata(std::move(meta), true, effect);
}

void Importer::add_subscription(const SubscriptionRecord& subscription, Effect& effect) {
  schema::Statement present(_store.database(), "SELECT 1 FROM nms_subscription");
  if (present.step()) {
    ++effect.tallies.subscription.present;
    return;
  }
  _store.nms_box().subscribe(subscription.index, subscription.token);
  ++effect.tallies.subscription.added;
  effect.has_changed = true;
}

void Importer::add_waiting_threads(Effect& effect) {
  const int made = _threads.made();
  for (const int file_id : _threads.waiting()) {
    effect.thread_ids.insert(_threads.store_id(file_id, _keeps_ids));
  }
  effect.has_changed = effect.has_changed || _threads.made() != made;
}

bool Importer::never_held_anything() {
  schema::Statement statement(_store.database(),
                              "SELECT NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE seq > 0) AND "
                              "NOT EXISTS (SELECT 1 FROM sequence WHERE last > 0) AND "
                              "NOT EXISTS (SELECT 1 FROM nms_subscription)");
  return statement.step() && statement.integer(0) != 0;
}

// From now on others are given ids behind those of the file.
void Importer::reserve_ids() {
  const LastIds& ids = _header->last_ids;
  schema::execute(_store.database(), "DELETE FROM sqlite_sequence");
  schema::Statement table(_store.database(), "INSERT INTO sqlite_sequence (name, seq) VALUES (?1, ?2)");
  for (const auto& [name, last] : {std::pair<std::string_view, std::int64_t>{"thread", ids.thread},
                                   {"thread_address", ids.participant},
                                   {"message", ids.message}}) {
    table.bind(1, name).bind(2, last).run();
  }
  schema::Statement packed(_store.database(), "UPDATE sequence SET last = ?2 WHERE name = ?1");
  for (const auto& [name, last] :
       {std::pair<std::string_view, std::int64_t>{"content", ids.part}, {"message_address", ids.address}}) {
    packed.bind(1, name).bind(2, last).run();
  }
}

bool Importer::message_exists(int id) {
  const schema::ResetAtExit reset(_message_exists);
  return _message_exists.bind(1, id).step();
}

std::string Importer::summary() const {
  nlohmann::ordered_json summary = {
      {"version", 1},
      {"complete", !_error},
      {"ids_kept", _ids_are_reserved},
      {"messages", json_of(_tallies.messages.added, _tallies.messages.present)},
      {"threads", json_of(_threads.made(), _threads.found())},
      {"metadata", json_of(_tallies.metadata.added, _tallies.metadata.present)},
      {"subscription", json_of(_tallies.subscription.added, _tallies.subscription.present)},
      {"files", _tallies.files},
      {"not_sent", _tallies.not_sent},
      {"lines", _committed_line}};
  summary["metadata"]["skipped"] = _tallies.metadata.skipped;
  if (_error) {
    summary["error"] = {{"reason", _error->reason},
                        {"line", _error->line},
                        {"column", _error->column},
                        {"member", _error->member},
                        {"message", _error->what}};
  }
  return summary.dump();
}

}  // namespace msg_consumer::service::transfer
