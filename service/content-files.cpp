// SPDX-License-Identifier: Apache-2.0
#include "content-files.hpp"

#include <fcntl.h>
#include <ftw.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "file-descriptor.hpp"
#include "file-gate.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;

// Holds the id of the store that the attachments belong to.
constexpr const char* OWNER_FILE = ".store";
constexpr mode_t OWNER_MODE = 0600;
constexpr std::string_view STAGING_PREFIX = ".incoming-";
constexpr mode_t FOLDER_MODE = 0750;
constexpr std::size_t COPY_BUFFER_SIZE = std::size_t{64} * 1024;
// Leaves room for the number in front of it.
constexpr std::size_t MAX_NAME_LENGTH = 240;

FileDescriptor create(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, FILE_MODE));
  require(file && set_mode(file, FILE_MODE), STATUS_FILE_COPY_FAILED);
  return file;
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

FileDescriptor open_folder(const fs::path& folder) {
  return FileDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

void sync_folder(const fs::path& folder) { sync(open_folder(folder)); }

// Whoever may read the store may read its attachments, whatever the umask.
bool make_folder(const fs::path& folder) {
  if (mkdir(folder.c_str(), FOLDER_MODE) != 0) {
    return errno == EEXIST;
  }
  const FileDescriptor made = open_folder(folder);
  return made && set_mode(made, FOLDER_MODE);
}

// A folder is only sure to be there after a power cut when the one around it is on the disk as well.
void make_folders(const fs::path& folder) {
  if (fs::is_directory(folder)) {
    return;
  }
  make_folders(folder.parent_path());
  if (!make_folder(folder)) {
    throw fs::filesystem_error("cannot make the folder", folder, std::error_code(errno, std::generic_category()));
  }
  sync_folder(folder.parent_path());
}

fs::path made(const fs::path& folder) {
  make_folders(fs::absolute(folder).lexically_normal());
  return fs::canonical(folder);
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

int remove_entry(const char* path, const struct stat* /*status*/, int /*kind*/, struct FTW* /*where*/) {
  return std::remove(path);
}

// Not fs::remove_all(): without memory it ends the process, whether it may throw or not.
void remove_tree(const fs::path& path) noexcept {
  constexpr int MAX_OPEN = 8;
  if (nftw(path.c_str(), remove_entry, MAX_OPEN, FTW_DEPTH | FTW_PHYS) != 0 && errno != ENOENT) {
    LOG_ERROR(HERE, "[ERROR] cannot remove %s: (%d)", path.c_str(), errno);
  }
}

bool has_messages(const fs::path& root) {
  return std::any_of(fs::directory_iterator(root), fs::directory_iterator(),
                     [](const auto& entry) { return message_id_of(entry.path().filename()).has_value(); });
}

// A death between placing a file and naming it leaves one in a folder that stays.
void remove_others(const fs::path& folder, const MessageFiles& known) {
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (!known.all && !known.names.contains(entry.path().filename())) {
      remove_tree(entry.path());
    }
  }
}

}  // namespace

IncomingFiles::IncomingFiles(IncomingFiles&& other) noexcept
    : _staging(std::exchange(other._staging, {})),
      _folder(std::exchange(other._folder, {})),
      _files(std::exchange(other._files, {})),
      _begun(std::move(other._begun)) {}

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

void IncomingFiles::begin(const std::string& name) {
  const fs::path path = _staging / std::to_string(_files.size());
  _begun = create(path);
  _files.push_back({.path = path, .name = name, .size = 0});
  // A name comes from anywhere, and must not lead out of the folder.
  std::replace(_files.back().name.begin(), _files.back().name.end(), '/', '_');
}

void IncomingFiles::append(std::string_view bytes) {
  write_all(_begun, bytes);
  _files.back().size += static_cast<std::int64_t>(bytes.size());
}

void IncomingFiles::flush() { sync(_begun); }

void IncomingFiles::finish() {
  sync(_begun);
  _begun = FileDescriptor(-1);
}

ContentFiles::ContentFiles(const Locations& places) : _root(made(places.files)), _gate(places) {}

IncomingFiles ContentFiles::copy_in(const std::vector<std::string>& paths, std::int64_t limit) const {
  if (paths.empty()) {
    return {};
  }
  IncomingFiles incoming = stage();
  for (const std::string& path : paths) {
    const FileDescriptor source = _gate.open_source(path);
    const fs::path copy_path = incoming._staging / std::to_string(incoming._files.size());
    const FileDescriptor target = create(copy_path);
    const std::int64_t size = copy(source, target, limit);
    limit -= size;
    incoming._files.push_back({.path = copy_path, .name = fs::path(path).filename(), .size = size});
  }
  return incoming;
}

IncomingFiles ContentFiles::stage() const {
  std::string staging = _root / (std::string(STAGING_PREFIX) + "XXXXXX");
  if (mkdtemp(staging.data()) == nullptr) {
    throw Refusal(STATUS_FILE_COPY_FAILED);
  }
  IncomingFiles incoming;
  try {
    incoming._staging = staging;
  } catch (...) {
    // Nobody owns the folder yet.
    rmdir(staging.c_str());
    throw;
  }
  return incoming;
}

void ContentFiles::place(IncomingFiles& incoming, int message_id, std::size_t first_number) const {
  if (incoming._files.empty()) {
    return;
  }
  // Known before it is made, and each file's place without a copy: what is made is undone even when memory runs out.
  incoming._folder = folder_of(message_id);
  const fs::path& folder = incoming._folder;
  require(make_folder(folder), STATUS_FILE_COPY_FAILED);
  for (IncomingFiles::File& file : incoming._files) {
    const std::string name = stored_name(first_number++, file.name);
    file.stored_path = folder.filename() / name;
    fs::path place = folder / name;
    if (rename(file.path.c_str(), place.c_str()) != 0) {
      throw Refusal(STATUS_FILE_COPY_FAILED);
    }
    file.path = std::move(place);
  }
  sync_folder(folder);
  sync_folder(_root);
}

void ContentFiles::copy_out(const std::string& source, const std::string& target) const {
  const FileDescriptor from = open_stored(source);
  const FileGate::NewFile to = _gate.create_target(target);
  try {
    copy(from, to.file, MAX_TOTAL_SIZE);
    to.sync_folder();
  } catch (...) {
    to.remove();
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

void ContentFiles::claim(std::string_view store_id) {
  const fs::path path = _root / OWNER_FILE;
  FileDescriptor owner(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, OWNER_MODE));
  if (!owner || flock(owner.get(), LOCK_EX | LOCK_NB) != 0) {
    throw std::runtime_error("cannot lock " + path.string() + ": another instance may be using the attachments");
  }
  std::array<char, COPY_BUFFER_SIZE> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read() fills it
  const std::string_view found(buffer.data(), read_some(owner, buffer));
  // Nothing but zeros: the machine died before the id was on the disk.
  if (found.find_first_not_of('\0') == std::string_view::npos && !has_messages(_root)) {
    require(lseek(owner.get(), 0, SEEK_SET) == 0, STATUS_FILE_COPY_FAILED);
    write_all(owner, store_id);
    sync(owner);
    sync_folder(_root);
  } else if (found != store_id) {
    throw std::runtime_error("the attachments in " + _root.string() + " are another database's: move them away");
  }
  _owner = std::move(owner);
}

void ContentFiles::remove_orphans(const Inventory& inventory) const {
  for (const fs::directory_entry& entry : fs::directory_iterator(_root)) {
    const std::string name = entry.path().filename();
    if (name.starts_with(STAGING_PREFIX)) {
      remove_tree(entry.path());
    } else if (const std::optional<int> message_id = message_id_of(name)) {
      const std::optional<MessageFiles> known = inventory(*message_id);
      known ? remove_others(entry.path(), *known) : remove_tree(entry.path());
    }
  }
}

fs::path ContentFiles::folder_of(int message_id) const { return _root / std::to_string(message_id); }

}  // namespace msg_consumer::service
