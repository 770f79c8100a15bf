// SPDX-License-Identifier: Apache-2.0
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "msgctl/backup/message-counter.hpp"
#include "msgctl/backup/xml-backup.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/owned.hpp"
#include "msgctl/progress.hpp"
#include "msgctl/service-bus.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t buffer_size = std::size_t{64} * 1024;
constexpr const char* json_lines = "json-lines";
constexpr const char* xml = "xml";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

struct ImportArguments {
  std::string path;
  std::string format;
};

// The file, of which the first bytes are looked at before they are read.
class Input {
 public:
  explicit Input(const std::string& path) : _name(path == "-" ? "the standard input" : "'" + path + "'") {
    if (path != "-") {
      _owned.reset(std::fopen(path.c_str(), "re"));
      if (!_owned) throw Failure(ExitCode::Refused, "cannot read " + _name + ": " + std::strerror(errno));
    }
    struct stat status {};
    if (fstat(fileno(file()), &status) == 0 && S_ISREG(status.st_mode)) _size = status.st_size;
    _ahead.resize(buffer_size);
    _ahead.resize(read_file(_ahead.data(), _ahead.size()));
    if (_ahead.starts_with(byte_order_mark)) _position = byte_order_mark.size();
  }

  /// The first byte that is no blank; 0 for an empty file.
  [[nodiscard]] char first() const {
    const std::size_t found = _ahead.find_first_not_of(" \t\r\n", _position);
    return found != std::string::npos ? _ahead[found] : '\0';
  }

  std::size_t read(char* buffer, std::size_t size) {
    if (_position < _ahead.size()) {
      const std::size_t count = std::min(size, _ahead.size() - _position);
      std::copy_n(_ahead.data() + _position, count, buffer);
      _position += count;
      return count;
    }
    return read_file(buffer, size);
  }

  [[nodiscard]] std::int64_t done() const { return _done; }
  [[nodiscard]] std::optional<std::int64_t> size() const { return _size; }
  [[nodiscard]] const std::string& name() const { return _name; }

 private:
  [[nodiscard]] std::FILE* file() const { return _owned ? _owned.get() : stdin; }

  std::size_t read_file(char* buffer, std::size_t size) {
    const std::size_t count = std::fread(buffer, 1, size, file());
    if (count == 0 && std::ferror(file()) != 0) {
      throw Failure(ExitCode::Refused, "cannot read " + _name + ": " + std::strerror(errno));
    }
    _done += static_cast<std::int64_t>(count);
    return count;
  }

  std::string _name;
  Owned<std::FILE, std::fclose> _owned;
  std::optional<std::int64_t> _size;
  std::string _ahead;
  std::size_t _position = 0;
  std::int64_t _done = 0;
};

// The end of the socket that the service reads from. It stops reading where the file is broken: its answer says why.
class Feed {
 public:
  explicit Feed(int socket, const Input& input) : _socket(socket), _input(input) {}

  bool send(std::string_view bytes) {
    _counter.take(bytes);
    _progress.show(_counter.messages(), _input.done(), _input.size());
    while (!bytes.empty()) {
      const ssize_t count = ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0 && (errno == EPIPE || errno == ECONNRESET)) return false;
      if (count < 0 && errno != EINTR) {
        throw Failure(ExitCode::Failed, std::string("the service takes nothing more: ") + std::strerror(errno));
      }
      bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
  }

 private:
  int _socket;
  const Input& _input;
  Progress _progress{"messages read:"};
  MessageCounter _counter;
};

void send_lines(Input& input, Feed& feed) {
  std::array<char, buffer_size> buffer{};
  std::size_t count = 0;
  while ((count = input.read(buffer.data(), buffer.size())) > 0) {
    if (!feed.send({buffer.data(), count})) return;
  }
}

BackupCounts send_backup(Input& input, Feed& feed) {
  return convert_backup([&](char* buffer, std::size_t size) { return input.read(buffer, size); },
                        [&](const std::string& line) { return feed.send(line); });
}

std::string format_of(const Input& input, const std::string& wanted) {
  if (!wanted.empty()) return wanted;
  if (input.first() == '{') return json_lines;
  if (input.first() == '<') return xml;
  throw Failure(ExitCode::Refused, input.name() + " is neither an exported store nor an XML backup",
                "--format says which it is meant to be.");
}

std::string words_of(const Json& item) {
  const Json& messages = item.at("messages");
  std::string words = "imported " + messages.at("added").dump() + " messages";
  if (messages.at("present") != 0) words += ", " + messages.at("present").dump() + " were there already";
  for (const auto& [reason, count] : item.at("skipped").items()) {
    words += "\nskipped for their " + reason + ": " + count.dump();
  }
  if (item.at("not_sent") != 0) words += "\nwere on their way, and count as failed now: " + item.at("not_sent").dump();
  return words;
}

// What the service had to complain of.
Failure failure_of(const Json& error, const Input& input) {
  const std::string message = error.value("message", "");
  if (error.value("reason", "") != "broken")
    return {ExitCode::Failed, "the import ended early: " + message,
            "What was imported stays; import the file again for the rest."};
  std::string place = " at line " + std::to_string(error.value("line", std::int64_t{0}));
  if (const auto column = error.value("column", std::int64_t{0}); column > 0)
    place += ", column " + std::to_string(column);
  if (const auto member = error.value("member", std::string()); !member.empty()) place += ", member '" + member + "'";
  return {ExitCode::Refused, input.name() + " is broken" + place + ": " + message,
          "What stands before that line was imported."};
}

void import_file(Context& context, const ImportArguments& arguments) {
  Input input(arguments.path);
  const bool is_xml = format_of(input, arguments.format) == xml;
  BackupCounts counts;
  std::optional<Failure> broken;
  const std::string text = ServiceBus().transfer(ServiceBus::Transfer::Import, [&](int socket) {
    Feed feed(socket, input);
    try {
      is_xml ? static_cast<void>(counts = send_backup(input, feed)) : send_lines(input, feed);
    } catch (const Failure& failure) {
      // The service is told by the missing end, and says what it has taken all the same.
      broken = failure;
    }
  });
  Json item = Json::parse(text);
  const Json error = item.contains("error") ? item["error"] : Json();
  for (const char* name : {"version", "error", "lines"}) item.erase(name);
  item["skipped"] = Json::object();
  for (const auto& [reason, count] : counts.skipped) item["skipped"][reason] = count;
  item["complete"] = error.is_null() && !broken;
  context.answer("import", json_text(item), words_of(item));
  if (broken) throw Failure(*broken);
  if (!error.is_null()) throw failure_of(error, input);
}

}  // namespace

Action configure_import(CLI::App& app) {
  auto arguments = std::make_shared<ImportArguments>();
  app.add_option("FILE", arguments->path, "The file; - reads the standard input")->required();
  app.add_option("--format", arguments->format, "What the file is, where that cannot be told from its beginning")
      ->check(CLI::IsMember({json_lines, xml}));
  return [arguments](Context& context) { import_file(context, *arguments); };
}

}  // namespace msgctl
