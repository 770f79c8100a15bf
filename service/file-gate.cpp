// SPDX-License-Identifier: Apache-2.0
#include "file-gate.hpp"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;

struct stat status_of(const FileDescriptor& file) {
  struct stat status {};
  require(fstat(file.get(), &status) == 0, STATUS_FILE_NOT_READABLE);
  return status;
}

bool is_same(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool leads_to(const std::string& path, const struct stat& wanted) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 && is_same(found, wanted);
}

// PATH: such a descriptor neither waits for a pipe's other end nor, when it is closed, drops the locks that SQLite
// holds on the same file for the whole process.
FileDescriptor look_up(const FileDescriptor& folder, const std::string& name, int flags) {
  return FileDescriptor(openat(folder.get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC | flags));
}

FileDescriptor reopen(const FileDescriptor& file, int flags) {
  const std::string path = "/proc/self/fd/" + std::to_string(file.get());
  return FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
}

// What the kernel shows in files depends on who looks: the service would tell its own secrets.
bool is_of_kernel(const FileDescriptor& file) {
  static constexpr std::array KINDS{PROC_SUPER_MAGIC, SYSFS_MAGIC,        DEBUGFS_MAGIC,
                                    TRACEFS_MAGIC,    CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC};
  struct statfs system {};
  return fstatfs(file.get(), &system) != 0 || std::find(KINDS.begin(), KINDS.end(), system.f_type) != KINDS.end();
}

}  // namespace

/// Where a path leads: the folder, and the name in it.
struct FileGate::Place {
  FileDescriptor folder;
  std::string name;
  bool is_own;     ///< among the attachments
  bool is_shared;  ///< in the folder of files handed over
};

bool set_mode(const FileDescriptor& file, unsigned mode) noexcept {
  struct stat status {};
  return fstat(file.get(), &status) == 0 && fchmod(file.get(), (status.st_mode & S_ISGID) | mode) == 0;
}

void sync(const FileDescriptor& file) { require(file && fsync(file.get()) == 0, STATUS_FILE_COPY_FAILED); }

// One folder after another: a link anywhere in the path would lead to a file that the caller cannot reach itself.
FileGate::Place FileGate::walk(const std::string& path, Status when_missing) const {
  const fs::path normal = fs::path(path).lexically_normal();
  Place place{.folder = FileDescriptor(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)),
              .name = normal.filename(),
              .is_own = false,
              .is_shared = false};
  for (const fs::path& name : normal.relative_path().parent_path()) {
    place.folder = look_up(place.folder, name, O_DIRECTORY);
    require(static_cast<bool>(place.folder), errno == ENOTDIR ? STATUS_FILE_NOT_REGULAR : when_missing);
    const struct stat status = status_of(place.folder);
    place.is_own = place.is_own || leads_to(_places.files, status);
    place.is_shared = place.is_shared || (!_places.exchange.empty() && leads_to(_places.exchange, status));
  }
  return place;
}

void FileGate::check_bounds(const Place& place) const {
  require(!place.is_own && (place.is_shared || _places.exchange.empty()), STATUS_FILE_OUT_OF_BOUNDS);
}

bool FileGate::is_database(const FileDescriptor& file) const {
  const struct stat status = status_of(file);
  const std::array<const char*, 5> suffixes{"", "-wal", "-shm", "-journal", ".lock"};
  return std::any_of(suffixes.begin(), suffixes.end(),
                     [&](const char* suffix) { return leads_to(_places.database + suffix, status); });
}

FileDescriptor FileGate::open_source(const std::string& path) const {
  const Place place = walk(path, STATUS_FILE_NOT_FOUND);
  check_bounds(place);
  const FileDescriptor file = look_up(place.folder, place.name, 0);
  require(static_cast<bool>(file), errno == EACCES ? STATUS_FILE_NOT_READABLE : STATUS_FILE_NOT_FOUND);
  require(S_ISREG(status_of(file).st_mode) && !is_of_kernel(file), STATUS_FILE_NOT_REGULAR);
  // By its identity, for it may have other names.
  require(!is_database(file), STATUS_FILE_OUT_OF_BOUNDS);
  FileDescriptor opened = reopen(file, 0);
  require(static_cast<bool>(opened), STATUS_FILE_NOT_READABLE);
  return opened;
}

FileDescriptor FileGate::open_stored(const std::string& path) const {
  const Place place = walk(path, STATUS_FILE_NOT_FOUND);
  require(place.is_own, STATUS_FILE_OUT_OF_BOUNDS);
  const FileDescriptor file = look_up(place.folder, place.name, 0);
  require(static_cast<bool>(file), STATUS_FILE_NOT_FOUND);
  require(S_ISREG(status_of(file).st_mode), STATUS_FILE_NOT_REGULAR);
  FileDescriptor opened = reopen(file, 0);
  require(static_cast<bool>(opened), STATUS_FILE_NOT_READABLE);
  return opened;
}

FileGate::NewFile FileGate::create_target(const std::string& path) const {
  Place place = walk(path, STATUS_FILE_NOT_WRITABLE);
  check_bounds(place);
  require(!is_of_kernel(place.folder), STATUS_FILE_NOT_WRITABLE);
  FileDescriptor file(
      openat(place.folder.get(), place.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, FILE_MODE));
  require(static_cast<bool>(file), errno == EEXIST ? STATUS_FILE_EXISTS : STATUS_FILE_NOT_WRITABLE);
  NewFile target{.folder = std::move(place.folder), .name = std::move(place.name), .file = std::move(file)};
  if (!set_mode(target.file, FILE_MODE)) {
    target.remove();
    throw Refusal(STATUS_FILE_NOT_WRITABLE);
  }
  return target;
}

void FileGate::NewFile::sync_folder() const { sync(reopen(folder, O_DIRECTORY)); }

void FileGate::NewFile::remove() const noexcept { static_cast<void>(unlinkat(folder.get(), name.c_str(), 0)); }

}  // namespace msg_consumer::service
