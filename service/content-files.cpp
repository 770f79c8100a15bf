// SPDX-License-Identifier: Apache-2.0
#include "content-files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "file-descriptor.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view STAGING_PREFIX = ".incoming-";
constexpr mode_t FILE_MODE = 0640;
constexpr mode_t FOLDER_MODE = 0750;
constexpr std::size_t COPY_BUFFER_SIZE = std::size_t{64} * 1024;
// Leaves room for the number in front of it.
constexpr std::size_t MAX_NAME_LENGTH = 240;

Status status_of_open_error(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return STATUS_FILE_NOT_FOUND;
    case ELOOP:  // a symbolic link
    case ENXIO:  // a socket
      return STATUS_FILE_NOT_REGULAR;
    default:
      return STATUS_FILE_NOT_READABLE;
  }
}

// NONBLOCK: opening a pipe must not wait for its other end.
FileDescriptor open_regular(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (!file) {
    throw Refusal(status_of_open_error(errno));
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    throw Refusal(STATUS_FILE_NOT_REGULAR);
  }
  return file;
}

FileDescriptor create(const std::string& path, mode_t mode) {
  return FileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
}

std::size_t read_some(const FileDescriptor& file, std::array<char, COPY_BUFFER_SIZE>& buffer) {
  for (;;) {
    const ssize_t count = read(file.get(), buffer.data(), buffer.size());
    if (count >= 0) {
      return static_cast<std::size_t>(count);
    }
    if (errno != EINTR) {
      throw Refusal(STATUS_FILE_COPY_FAILED);
    }
  }
}

void write_all(const FileDescriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file.get(), bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      throw Refusal(STATUS_FILE_COPY_FAILED);
    }
    bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
}

void sync(const FileDescriptor& file) {
  if (!file || fsync(file.get()) != 0) {
    throw Refusal(STATUS_FILE_COPY_FAILED);
  }
}

void sync_folder(const fs::path& folder) {
  sync(FileDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

// Counts what it copies: the source may grow meanwhile.
std::int64_t copy(const FileDescriptor& source, const FileDescriptor& target, std::int64_t limit) {
  std::array<char, COPY_BUFFER_SIZE> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read() fills it
  std::int64_t size = 0;
  while (const std::size_t count = read_some(source, buffer)) {
    size += static_cast<std::int64_t>(count);
    if (size > limit) {
      throw Refusal(STATUS_FILE_TOO_LARGE);
    }
    write_all(target, {buffer.data(), count});
  }
  sync(target);
  return size;
}

// Shortened between two characters.
std::string stored_name(std::size_t number, const std::string& name) {
  std::size_t length = std::min(name.size(), MAX_NAME_LENGTH);
  while (length < name.size() && length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U) {
    --length;
  }
  return std::to_string(number) + "-" + name.substr(0, length);
}

std::optional<int> message_id_of(const std::string& folder) {
  int id = 0;
  const char* end = folder.data() + folder.size();
  const auto [stop, error] = std::from_chars(folder.data(), end, id);
  return error == std::errc() && stop == end ? std::optional(id) : std::nullopt;
}

void remove_tree(const fs::path& path) noexcept {
  try {
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
      LOG_ERROR(HERE, "[ERROR] cannot remove %s: %s", path.c_str(), error.message().c_str());
    }
  } catch (const std::exception& error) {
    LOG_ERROR(HERE, "[ERROR] cannot remove files: %s", error.what());
  }
}

}  // namespace

IncomingFiles::IncomingFiles(IncomingFiles&& other) noexcept
    : _staging(std::exchange(other._staging, {})),
      _folder(std::exchange(other._folder, {})),
      _files(std::exchange(other._files, {})) {}

IncomingFiles::~IncomingFiles() {
  std::error_code ignored;
  for (const File& file : _files) {
    fs::remove(file.path, ignored);
  }
  // Only an empty folder can be removed so: a message's earlier attachments keep theirs.
  if (!_folder.empty()) {
    fs::remove(_folder, ignored);
  }
  if (!_staging.empty()) {
    remove_tree(_staging);
  }
}

ContentFiles::ContentFiles(fs::path root) : _root(std::move(root)) {
  if (fs::create_directories(_root)) {
    fs::permissions(_root, static_cast<fs::perms>(FOLDER_MODE));
  }
}

IncomingFiles ContentFiles::copy_in(const std::vector<std::string>& paths, std::int64_t limit) const {
  IncomingFiles incoming;
  if (paths.empty()) {
    return incoming;
  }
  std::string staging = _root / (std::string(STAGING_PREFIX) + "XXXXXX");
  if (mkdtemp(staging.data()) == nullptr) {
    throw Refusal(STATUS_FILE_COPY_FAILED);
  }
  incoming._staging = staging;
  for (const std::string& path : paths) {
    const FileDescriptor source = open_regular(path);
    const fs::path copy_path = incoming._staging / std::to_string(incoming._files.size());
    const FileDescriptor target = create(copy_path, FILE_MODE);
    if (!target) {
      throw Refusal(STATUS_FILE_COPY_FAILED);
    }
    const std::int64_t size = copy(source, target, limit);
    limit -= size;
    incoming._files.push_back({.path = copy_path, .name = fs::path(path).filename(), .size = size});
  }
  return incoming;
}

void ContentFiles::place(IncomingFiles& incoming, int message_id, std::size_t first_number) const {
  if (incoming._files.empty()) {
    return;
  }
  const fs::path folder = folder_of(message_id);
  if (mkdir(folder.c_str(), FOLDER_MODE) != 0 && errno != EEXIST) {
    throw Refusal(STATUS_FILE_COPY_FAILED);
  }
  incoming._folder = folder;
  for (IncomingFiles::File& file : incoming._files) {
    const fs::path place = folder / stored_name(first_number++, file.name);
    if (rename(file.path.c_str(), place.c_str()) != 0) {
      throw Refusal(STATUS_FILE_COPY_FAILED);
    }
    file.path = place;
  }
  sync_folder(folder);
  sync_folder(_root);
}

void ContentFiles::copy_out(const std::string& source, const std::string& target) {
  const FileDescriptor from = open_regular(source);
  const FileDescriptor to = create(target, FILE_MODE);
  if (!to) {
    throw Refusal(errno == EEXIST ? STATUS_FILE_EXISTS : STATUS_FILE_NOT_WRITABLE);
  }
  try {
    copy(from, to, MAX_TOTAL_SIZE);
  } catch (...) {
    unlink(target.c_str());
    throw;
  }
}

void ContentFiles::remove(int message_id) const noexcept {
  try {
    remove_tree(folder_of(message_id));
  } catch (const std::exception& error) {
    LOG_ERROR(HERE, "[ERROR] cannot remove the files of message (%d): %s", message_id, error.what());
  }
}

void ContentFiles::remove_orphans(const std::function<bool(int message_id)>& exists) const {
  for (const fs::directory_entry& entry : fs::directory_iterator(_root)) {
    const std::string name = entry.path().filename();
    const std::optional<int> message_id = message_id_of(name);
    if (name.starts_with(STAGING_PREFIX) || (message_id && !exists(*message_id))) {
      remove_tree(entry.path());
    }
  }
}

fs::path ContentFiles::folder_of(int message_id) const { return _root / std::to_string(message_id); }

}  // namespace msg_consumer::service
