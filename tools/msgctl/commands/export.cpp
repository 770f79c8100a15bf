// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "msgctl/backup/message-counter.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/progress.hpp"
#include "msgctl/service-bus.hpp"
#include "msgctl/service-path.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t buffer_size = std::size_t{64} * 1024;

[[noreturn]] void fail_writing(const std::string& path, int error) {
  throw Failure(ExitCode::Failed, "cannot write '" + path + "': " + std::strerror(error));
}

// A file under a name of its own until it is whole: whoever finds the right name finds all of it.
class NewFile {
 public:
  explicit NewFile(const std::string& path) : _path(path_of_new_file(path)), _temporary(_path + ".part-XXXXXX") {
    // Only its owner may read it.
    _descriptor = mkostemp(_temporary.data(), O_CLOEXEC);
    if (_descriptor < 0) fail_writing(_path, errno);
  }
  ~NewFile() {
    if (_descriptor >= 0) static_cast<void>(close(_descriptor));
    if (!_temporary.empty()) static_cast<void>(unlink(_temporary.c_str()));
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(_descriptor, bytes.data(), bytes.size());
      if (count < 0 && errno != EINTR) fail_writing(_path, errno);
      bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
  }

  void finish() {
    if (fsync(_descriptor) != 0) fail_writing(_path, errno);
    if (renameat2(AT_FDCWD, _temporary.c_str(), AT_FDCWD, _path.c_str(), RENAME_NOREPLACE) != 0) {
      if (errno == EEXIST) {
        throw Failure(ExitCode::Refused, "'" + _path + "' exists already",
                      "Nothing is overwritten: choose another name.");
      }
      fail_writing(_path, errno);
    }
    _temporary.clear();
  }

  [[nodiscard]] const std::string& path() const { return _path; }

 private:
  std::string _path;
  std::string _temporary;
  int _descriptor = -1;
};

std::optional<std::int64_t> announced_messages(const std::string& first_line) {
  const auto header = Json::parse(first_line, nullptr, false);
  if (!header.is_object() || !header.contains("messages") || !header["messages"].is_number_integer()) return {};
  return header["messages"].get<std::int64_t>();
}

// Hands what comes through the socket to `take`, until its end.
template <typename Take>
void receive(int socket, Take&& take) {
  Progress progress("messages exported:");
  MessageCounter counter;
  std::optional<std::int64_t> total;
  std::array<char, buffer_size> buffer{};
  for (;;) {
    const ssize_t count = recv(socket, buffer.data(), buffer.size(), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Failure(ExitCode::Failed, "the service sends nothing more: " + std::string(strerror(errno)));
    if (count == 0) return;
    const std::string_view piece(buffer.data(), static_cast<std::size_t>(count));
    take(piece);
    counter.take(piece);
    if (!total && counter.lines() > 0) total = announced_messages(counter.first_line());
    progress.show(counter.messages(), counter.messages(), total);
  }
}

std::string words_of(const Json& summary, const std::string& path) {
  const auto number = [&](const char* name) { return summary.value(name, std::int64_t{0}); };
  std::string words = "exported " + std::to_string(number("messages")) + " messages in " +
                      std::to_string(number("threads")) + " threads with " + std::to_string(number("files")) +
                      " files to " + printable(path);
  if (number("files_missing") > 0)
    words += "\nfiles that could not be read: " + std::to_string(number("files_missing"));
  if (number("damaged_messages") > 0) {
    words += "\ndamaged messages left out: " + std::to_string(number("damaged_messages"));
  }
  return words;
}

void export_to_file(Context& context, const std::string& path) {
  NewFile file(path);
  const std::string text = ServiceBus().transfer(ServiceBus::Transfer::Export, [&](int socket) {
    receive(socket, [&](std::string_view piece) { file.write(piece); });
  });
  file.finish();
  Json item = {{"path", file.path()}};
  item.update(Json::parse(text));
  item.erase("version");
  context.answer("export", json_text(item), words_of(item, file.path()));
}

// The output is the store and nothing else.
void export_to_output(Context& context) {
  const std::string text = ServiceBus().transfer(ServiceBus::Transfer::Export, [&](int socket) {
    receive(socket, [&](std::string_view piece) { context.out.write(piece); });
  });
  context.out.flush();
  static_cast<void>(std::fputs((words_of(Json::parse(text), "the standard output") + "\n").c_str(), stderr));
}

}  // namespace

Action configure_export(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  app.add_option("FILE", *path, "The new file; - or nothing writes to the standard output");
  return [path](Context& context) {
    const bool to_output = path->empty() || *path == "-";
    if (path->empty() && isatty(STDOUT_FILENO) == 1) {
      throw Failure(ExitCode::Usage, "a whole store is nothing for a terminal", "Name a file, or - all the same.");
    }
    to_output ? export_to_output(context) : export_to_file(context, *path);
  };
}

}  // namespace msgctl
