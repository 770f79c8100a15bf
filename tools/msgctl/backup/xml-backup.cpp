// SPDX-License-Identifier: Apache-2.0
#include "msgctl/backup/xml-backup.hpp"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <array>
#include <exception>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "msgctl/backup/backup-message.hpp"
#include "msgctl/backup/data-attributes.hpp"
#include "msgctl/backup/surrogate-filter.hpp"
#include "msgctl/failure.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/owned.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;
using Reader = Owned<xmlTextReader, xmlFreeTextReader>;

constexpr std::size_t piece_size = std::size_t{64} * 1024;

// A whole number of groups of base64.
constexpr std::size_t chunk_size = std::size_t{256} * 1024;

// What a message may have, and what the whole may be together.
constexpr std::size_t most_parts = 1000;
constexpr std::size_t most_files = 100;
constexpr std::size_t greatest_files = std::size_t{100} * 1024 * 1024;

std::string view(const xmlChar* text) { return text != nullptr ? reinterpret_cast<const char*>(text) : ""; }

// The bytes as the parser gets them, and what is known of them besides.
class Source {
 public:
  explicit Source(const ReadBytes& read) : _read(read) {}

  // Called by C code, which no exception may cross.
  static int fill(void* self, char* buffer, int size) {
    auto& source = *static_cast<Source*>(self);
    try {
      return static_cast<int>(source.fill(buffer, static_cast<std::size_t>(size)));
    } catch (...) {
      source._failure = std::current_exception();
      return -1;
    }
  }

  /// The attachment that a number stands for.
  std::string data(const std::string& number) { return _data.value(number); }

  void check() const {
    if (_failure) std::rethrow_exception(_failure);
    if (_filter.saw_document_type()) {
      throw Failure(ExitCode::Refused, "the backup declares a document type, which is not accepted",
                    "A backup of messages needs none: remove the declaration if you trust the file.");
    }
  }

 private:
  std::size_t fill(char* buffer, std::size_t size) {
    while (_position == _filtered.size() && !_ended) {
      const std::size_t count = _read(_piece.data(), _piece.size());
      _ended = count == 0;
      _filtered = _data.take(_ended ? _filter.finish() : _filter.take({_piece.data(), count}));
      _position = 0;
    }
    // Nothing of a declaration may reach the parser's tables of entities.
    check();
    // No further than one tag: the parser reports nothing of a piece in which it finds an error, and what stands before
    // the error is to be imported.
    const std::size_t tag_end = std::min(_filtered.find('>', _position), _filtered.size() - 1);
    const std::size_t count = _filtered.empty() ? 0 : std::min(size, tag_end + 1 - _position);
    std::copy_n(_filtered.data() + _position, count, buffer);
    _position += count;
    return count;
  }

  const ReadBytes& _read;
  SurrogateFilter _filter;
  DataAttributes _data;
  std::array<char, piece_size> _piece{};
  std::string _filtered;
  std::size_t _position = 0;
  bool _ended = false;
  std::exception_ptr _failure;
};

struct XmlProblem {
  std::string what;
  int line = 0;
  int column = 0;
};

// The first error is the cause of the others.
void note_problem(void* user_data, xmlErrorPtr error) {
  auto& problem = *static_cast<std::optional<XmlProblem>*>(user_data);
  if (error == nullptr || problem || error->level < XML_ERR_ERROR) return;
  problem = XmlProblem{error->message != nullptr ? error->message : "", error->line, error->int2};
  while (problem->what.ends_with('\n')) problem->what.pop_back();
}

class Converter {
 public:
  Converter(const ReadBytes& read, const WriteLine& write)
      : _source(read),
        _write(write),
        _reader(xmlReaderForIO(Source::fill, nullptr, &_source, nullptr, "UTF-8", XML_PARSE_NONET)) {
    if (!_reader) throw std::bad_alloc();
    xmlTextReaderSetStructuredErrorHandler(_reader.get(), note_problem, &_problem);
  }

  BackupCounts run() {
    put({{"kind", "store"}, {"version", 1}});
    int result = 1;
    while (_wanted && (result = xmlTextReaderRead(_reader.get())) == 1) take_node();
    _source.check();
    if (_wanted && result != 0) fail_for_xml();
    if (_wanted && !_saw_root) fail_for_document();
    put({{"kind", "end"}, {"threads", _threads.size()}, {"messages", _counts.messages}, {"metadata", 0}});
    return _counts;
  }

 private:
  [[noreturn]] void fail_for_xml() const {
    const XmlProblem problem = _problem.value_or(XmlProblem{"the document is not complete"});
    throw Failure(ExitCode::Refused,
                  "the backup is broken at line " + std::to_string(problem.line) + ", column " +
                      std::to_string(problem.column) + ": " + problem.what,
                  "What stands before that place was imported.");
  }

  [[noreturn]] static void fail_for_document() {
    throw Failure(ExitCode::Refused, "this XML is not a backup of messages: it does not begin with <smses>");
  }

  void put(const Json& line) { _wanted = _wanted && _write(json_text(line) + "\n"); }

  void take_node() {
    const int type = xmlTextReaderNodeType(_reader.get());
    const std::string name = view(xmlTextReaderConstName(_reader.get()));
    if (type == XML_READER_TYPE_ELEMENT) {
      const bool is_empty = xmlTextReaderIsEmptyElement(_reader.get()) == 1;
      begin_element(name);
      if (is_empty) end_element(name);
    } else if (type == XML_READER_TYPE_END_ELEMENT) {
      end_element(name);
    }
  }

  void begin_element(const std::string& name) {
    const int depth = xmlTextReaderDepth(_reader.get());
    if (depth == 0) {
      if (name != "smses") fail_for_document();
      _saw_root = true;
    } else if (depth == 1 && (name == "sms" || name == "mms")) {
      _message.emplace();
      _message->is_mms = name == "mms";
      _excess = false;
      read_attributes(_message->attributes, nullptr);
    } else if (_message && name == "part") {
      begin_part();
    } else if (_message && name == "addr") {
      read_attributes(_message->addresses.emplace_back(), nullptr);
    }
  }

  void begin_part() {
    BackupPart part;
    read_attributes(part.attributes, &part.data);
    _message_size += part.data.size() / 4 * 3;
    _files += part.data.empty() ? 0 : 1;
    _excess = _excess || _message->parts.size() >= most_parts || _files > most_files || _message_size > greatest_files;
    // A message that is too large is left out as a whole, and must not fill the memory either.
    if (!_excess) _message->parts.push_back(std::move(part));
  }

  void read_attributes(Attributes& attributes, std::string* data) {
    while (xmlTextReaderMoveToNextAttribute(_reader.get()) == 1) {
      const std::string name = view(xmlTextReaderConstName(_reader.get()));
      const auto* value = reinterpret_cast<const char*>(xmlTextReaderConstValue(_reader.get()));
      if (value == nullptr) continue;
      if (data != nullptr && name == "data") {
        *data = _source.data(value);
        if (*data == "null") data->clear();
      } else {
        attributes.set(name, value);
      }
    }
    xmlTextReaderMoveToElement(_reader.get());
  }

  void end_element(const std::string& name) {
    if (!_message || name != (_message->is_mms ? "mms" : "sms")) return;
    finish_message();
    _message.reset();
    _message_size = 0;
    _files = 0;
  }

  void finish_message() {
    std::string reason = "size";
    std::optional<ConvertedMessage> message;
    const int thread = thread_of(participants_of(*_message));
    if (!_excess) message = converted(*_message, thread, reason);
    if (!message) {
      ++_counts.skipped[reason];
      return;
    }
    declare_thread(thread, message->participants);
    _wanted = _wanted && _write(message->json + "\n");
    for (const std::string& file : message->files) put_file(file);
    ++_counts.messages;
  }

  void put_file(std::string_view base64) {
    while (_wanted && !base64.empty()) {
      put({{"kind", "data"}, {"base64", std::string(base64.substr(0, chunk_size))}});
      base64.remove_prefix(std::min(chunk_size, base64.size()));
    }
  }

  static std::string key_of(const std::vector<std::string>& participants) {
    std::set<std::string> sorted;
    for (const std::string& participant : participants) sorted.insert(comparable_address(participant));
    std::string key;
    for (const std::string& address : sorted) key += address + "~";
    return key;
  }

  // The number of the thread with these participants, which is not declared before a message needs it.
  int thread_of(const std::vector<std::string>& participants) {
    const auto found = _threads.find(key_of(participants));
    return found != _threads.end() ? found->second : static_cast<int>(_threads.size()) + 1;
  }

  void declare_thread(int id, const std::vector<std::string>& participants) {
    if (!_threads.emplace(key_of(participants), id).second) return;
    Json addresses = Json::array();
    std::string title;
    for (const std::string& address : participants) {
      addresses.push_back({{"address", address}});
      title += (title.empty() ? "" : ", ") + address;
    }
    put({{"kind", "thread"}, {"id", id}, {"title", title}, {"participants", std::move(addresses)}});
  }

  Source _source;
  const WriteLine& _write;
  Reader _reader;
  std::optional<XmlProblem> _problem;
  bool _wanted = true;
  bool _saw_root = false;
  std::optional<BackupMessage> _message;
  bool _excess = false;
  std::size_t _message_size = 0;
  std::size_t _files = 0;
  std::map<std::string, int> _threads;
  BackupCounts _counts;
};

}  // namespace

BackupCounts convert_backup(const ReadBytes& read, const WriteLine& write) { return Converter(read, write).run(); }

}  // namespace msgctl
