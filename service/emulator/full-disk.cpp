// SPDX-License-Identifier: Apache-2.0
#include "full-disk.hpp"

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <deque>
#include <mutex>
#include <stdexcept>

#include "remaining.hpp"

namespace msg_consumer::service::emulator {
namespace {

// What SQLite would use without us, and what it does with its files.
sqlite3_vfs* real_vfs = nullptr;
sqlite3_vfs vfs = {};

/// How a kind of files is handled, but for its writes.
struct Methods : sqlite3_io_methods {
  const sqlite3_io_methods* real;
};

// SQLite handles files that are locked in another way than those that are not. A deque: files point at its elements.
const sqlite3_io_methods* methods_instead_of(const sqlite3_io_methods* real, decltype(real->xWrite) write) {
  static std::mutex mutex;
  static std::deque<Methods> kinds;
  // The store's other writer opens it in a thread of his own.
  const std::lock_guard lock(mutex);
  for (const Methods& kind : kinds) {
    if (kind.real == real) {
      return &kind;
    }
  }
  kinds.push_back(Methods{*real, real});
  Methods& kind = kinds.back();
  kind.xWrite = write;
  return &kind;
}

}  // namespace

FullDisk& FullDisk::instance() {
  static FullDisk disk;
  return disk;
}

void FullDisk::install() {
  real_vfs = sqlite3_vfs_find(nullptr);
  vfs = *real_vfs;
  vfs.zName = "full-disk";
  vfs.pNext = nullptr;
  vfs.xOpen = open;
  if (sqlite3_vfs_register(&vfs, 1) != SQLITE_OK) {
    throw std::runtime_error("cannot come between SQLite and its files");
  }
}

int FullDisk::open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* result_flags) {
  const int result = real_vfs->xOpen(real_vfs, name, file, flags, result_flags);
  const bool is_kept = (flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL)) != 0;
  if (result == SQLITE_OK && is_kept) {
    file->pMethods = methods_instead_of(file->pMethods, write);
  }
  return result;
}

int FullDisk::write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
  if (instance().refuses()) {
    return SQLITE_FULL;
  }
  return static_cast<const Methods*>(file->pMethods)->real->xWrite(file, data, size, offset);
}

bool FullDisk::refuses() {
  _has_refused = _has_refused || _is_full;
  return _is_full;
}

void FullDisk::turn_ends() {
  if (_has_refused && use_up(_left)) {
    _is_full = false;
  }
  _has_refused = false;
}

void FullDisk::set(const DiskFull& state) {
  _is_full = state.is_full;
  _left = state.times;
  _has_refused = false;
}

Json FullDisk::state() const { return _is_full ? Json{{"remaining", remaining(_left)}} : Json(); }

}  // namespace msg_consumer::service::emulator

// The linker lets the service's calls of write() come here.
extern "C" {
ssize_t __real_write(int file, const void* data, size_t size);  // NOLINT(bugprone-reserved-identifier)
ssize_t __wrap_write(int file, const void* data, size_t size);  // NOLINT(bugprone-reserved-identifier)

ssize_t __wrap_write(int file, const void* data, size_t size) {  // NOLINT(bugprone-reserved-identifier)
  struct stat status {};
  const bool is_on_disk = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  if (is_on_disk && msg_consumer::service::emulator::FullDisk::instance().refuses()) {
    errno = ENOSPC;
    return -1;
  }
  return __real_write(file, data, size);
}
}
