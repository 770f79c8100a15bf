// SPDX-License-Identifier: Apache-2.0
#include "file-faults.hpp"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

namespace msg_consumer::test {
namespace {

FaultyFiles* g_faults = nullptr;
bool g_reads_are_short = false;

void note_sync(int file) {
  if (g_faults != nullptr) g_faults->synced(file);
}

sqlite3_vfs* real_files() {
  static sqlite3_vfs* const real = sqlite3_vfs_find("unix");
  return real;
}

/// A file as SQLite sees it; the real one lies behind it, in the same piece of memory.
struct WrappedFile {
  sqlite3_file base;
};

sqlite3_file* real_file(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<WrappedFile*>(file) + 1);
}

int strike(FileCall call) { return g_faults != nullptr ? g_faults->strike(call) : SQLITE_OK; }

/// Makes a call that changes a file, with the test looking at the disk before and after.
template <typename Call>
int change(FileCall kind, Call&& call) {
  if (g_faults != nullptr) g_faults->changed();
  int code = strike(kind);
  if (code == SQLITE_OK) code = call();
  if (g_faults != nullptr) g_faults->changed();
  return code;
}

template <typename Call>
int attempt(FileCall kind, Call&& call) {
  const int code = strike(kind);
  return code != SQLITE_OK ? code : call();
}

int close_file(sqlite3_file* file) { return real_file(file)->pMethods->xClose(real_file(file)); }

int read_file(sqlite3_file* file, void* buffer, int size, sqlite3_int64 offset) {
  const int code = strike(FileCall::READ);
  if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) return code;
  g_reads_are_short = code == SQLITE_IOERR_SHORT_READ;
  const int result = real_file(file)->pMethods->xRead(real_file(file), buffer, size, offset);
  g_reads_are_short = false;
  return result;
}

int write_file(sqlite3_file* file, const void* buffer, int size, sqlite3_int64 offset) {
  auto* const real = real_file(file);
  if (g_faults != nullptr) g_faults->changed();
  const int code = strike(FileCall::WRITE);
  const int written = real->pMethods->xWrite(real, buffer, code == SQLITE_OK ? size : size / 2, offset);
  if (g_faults != nullptr) g_faults->changed();
  return code != SQLITE_OK ? code : written;
}

int truncate_file(sqlite3_file* file, sqlite3_int64 size) {
  return change(FileCall::TRUNCATE, [&] { return real_file(file)->pMethods->xTruncate(real_file(file), size); });
}

int sync_file(sqlite3_file* file, int flags) {
  return change(FileCall::SYNC, [&] { return real_file(file)->pMethods->xSync(real_file(file), flags); });
}

int file_size(sqlite3_file* file, sqlite3_int64* size) {
  return attempt(FileCall::SIZE, [&] { return real_file(file)->pMethods->xFileSize(real_file(file), size); });
}

int lock(sqlite3_file* file, int level) {
  return attempt(FileCall::LOCK, [&] { return real_file(file)->pMethods->xLock(real_file(file), level); });
}

int unlock(sqlite3_file* file, int level) { return real_file(file)->pMethods->xUnlock(real_file(file), level); }

int check_reserved_lock(sqlite3_file* file, int* result) {
  return attempt(FileCall::LOCK,
                 [&] { return real_file(file)->pMethods->xCheckReservedLock(real_file(file), result); });
}

int file_control(sqlite3_file* file, int operation, void* argument) {
  return real_file(file)->pMethods->xFileControl(real_file(file), operation, argument);
}

int sector_size(sqlite3_file* file) { return real_file(file)->pMethods->xSectorSize(real_file(file)); }

int device_characteristics(sqlite3_file* file) {
  return real_file(file)->pMethods->xDeviceCharacteristics(real_file(file));
}

int map_shared(sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
  *memory = nullptr;
  return attempt(FileCall::MAP,
                 [&] { return real_file(file)->pMethods->xShmMap(real_file(file), page, size, extend, memory); });
}

int lock_shared(sqlite3_file* file, int offset, int count, int flags) {
  const auto call = [&] { return real_file(file)->pMethods->xShmLock(real_file(file), offset, count, flags); };
  return (static_cast<unsigned>(flags) & SQLITE_SHM_LOCK) != 0 ? attempt(FileCall::SHARED_LOCK, call) : call();
}

void barrier(sqlite3_file* file) { real_file(file)->pMethods->xShmBarrier(real_file(file)); }

int unmap_shared(sqlite3_file* file, int remove) {
  return real_file(file)->pMethods->xShmUnmap(real_file(file), remove);
}

// Version 2: without the calls that map the database itself into memory.
constexpr sqlite3_io_methods METHODS = {
    .iVersion = 2,
    .xClose = close_file,
    .xRead = read_file,
    .xWrite = write_file,
    .xTruncate = truncate_file,
    .xSync = sync_file,
    .xFileSize = file_size,
    .xLock = lock,
    .xUnlock = unlock,
    .xCheckReservedLock = check_reserved_lock,
    .xFileControl = file_control,
    .xSectorSize = sector_size,
    .xDeviceCharacteristics = device_characteristics,
    .xShmMap = map_shared,
    .xShmLock = lock_shared,
    .xShmBarrier = barrier,
    .xShmUnmap = unmap_shared,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int open_file(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* flags_out) {
  file->pMethods = nullptr;
  const int code = change(FileCall::OPEN,
                          [&] { return real_files()->xOpen(real_files(), name, real_file(file), flags, flags_out); });
  // A file that failed to open and still has methods wants to be closed.
  if (code == SQLITE_OK) file->pMethods = &METHODS;
  return code;
}

int remove_file(sqlite3_vfs* /*vfs*/, const char* name, int sync_folder) {
  return change(FileCall::REMOVE, [&] { return real_files()->xDelete(real_files(), name, sync_folder); });
}

int access_file(sqlite3_vfs* /*vfs*/, const char* name, int flags, int* result) {
  return attempt(FileCall::ACCESS, [&] { return real_files()->xAccess(real_files(), name, flags, result); });
}

int sleep_not(sqlite3_vfs* /*vfs*/, int microseconds) {
  if (g_faults != nullptr) g_faults->count_wait();
  return microseconds;
}

sqlite3_vfs wrapped(const sqlite3_vfs& real) {
  sqlite3_vfs vfs = real;
  vfs.zName = FaultyFiles::NAME;
  vfs.pNext = nullptr;
  vfs.szOsFile = static_cast<int>(sizeof(WrappedFile)) + real.szOsFile;
  vfs.xOpen = open_file;
  vfs.xDelete = remove_file;
  vfs.xAccess = access_file;
  vfs.xSleep = sleep_not;
  return vfs;
}

}  // namespace
}  // namespace msg_consumer::test

// In the place of the C library's, for SQLite: the system is free to bring less than was asked for.
extern "C" ssize_t pread64(int file, void* buffer, std::size_t size, off64_t offset) {
  static auto* const real = reinterpret_cast<decltype(&pread64)>(dlsym(RTLD_NEXT, "pread64"));
  const bool is_short = msg_consumer::test::g_reads_are_short && size > 1;
  return real(file, buffer, is_short ? size / 2 : size, offset);
}

// That nothing waits for the disk makes the tests many times faster: what they hold against each other is in the
// system's memory.
extern "C" int fsync(int file) {
  msg_consumer::test::note_sync(file);
  return 0;
}
extern "C" int fdatasync(int file) { return fsync(file); }

namespace msg_consumer::test {

void PrintTo(const FileFault& fault, std::ostream* out) { *out << fault.name; }

int next_call(int number) {
  constexpr int NEAR = 12;
  constexpr int STRIDE = 9;
  return number + (number < NEAR || std::getenv("MSG_CONSUMER_EVERY_FILE_FAULT") != nullptr ? 1 : STRIDE);
}

FaultyFiles::FaultyFiles() : _vfs(wrapped(*real_files())) {
  sqlite3_vfs_register(&_vfs, 1);
  g_faults = this;
}

FaultyFiles::~FaultyFiles() {
  g_faults = nullptr;
  sqlite3_vfs_unregister(&_vfs);
  sqlite3_vfs_register(real_files(), 1);
}

void FaultyFiles::arm(const FileFault& fault, int number, bool persists) {
  _fault = fault;
  _number = number;
  _persists = persists;
  _struck = false;
}

bool FaultyFiles::disarm() {
  _number = -1;
  return _struck;
}

int FaultyFiles::strike(FileCall call) {
  if (on_call) on_call(call);
  if (_number < 0 || call != _fault.call) return SQLITE_OK;
  if (_number > 0) {
    --_number;
    return SQLITE_OK;
  }
  // At 0 the rest fails too; below 0 nothing does.
  if (!_persists) _number = -1;
  _struck = true;
  return _fault.code;
}

}  // namespace msg_consumer::test
