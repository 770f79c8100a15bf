// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_FILES_FILE_FAULTS_HPP
#define MSG_CONSUMER_TESTS_FILES_FILE_FAULTS_HPP

#include <sqlite3.h>

#include <functional>
#include <ostream>
#include <string>

namespace msg_consumer::test {

/// What SQLite does with files, as far as it can go wrong.
enum class FileCall { OPEN, REMOVE, ACCESS, READ, WRITE, TRUNCATE, SYNC, SIZE, LOCK, MAP, SHARED_LOCK };

/// One way for a call to fail.
struct FileFault {
  const char* name;
  FileCall call;
  int code;
};

void PrintTo(const FileFault& fault, std::ostream* out);

inline constexpr FileFault FILE_FAULTS[] = {
    {"OpenFails", FileCall::OPEN, SQLITE_CANTOPEN},
    {"OpenIsForbidden", FileCall::OPEN, SQLITE_PERM},
    {"OpenIsReadOnly", FileCall::OPEN, SQLITE_READONLY},
    {"RemoveFails", FileCall::REMOVE, SQLITE_IOERR_DELETE},
    {"AccessFails", FileCall::ACCESS, SQLITE_IOERR_ACCESS},
    {"ReadFails", FileCall::READ, SQLITE_IOERR_READ},
    {"ReadIsShort", FileCall::READ, SQLITE_IOERR_SHORT_READ},
    {"WriteFails", FileCall::WRITE, SQLITE_IOERR_WRITE},
    {"DiskIsFull", FileCall::WRITE, SQLITE_FULL},
    {"TruncateFails", FileCall::TRUNCATE, SQLITE_IOERR_TRUNCATE},
    {"SyncFails", FileCall::SYNC, SQLITE_IOERR_FSYNC},
    {"SizeFails", FileCall::SIZE, SQLITE_IOERR_FSTAT},
    {"LockFails", FileCall::LOCK, SQLITE_IOERR_LOCK},
    {"LockIsBusy", FileCall::LOCK, SQLITE_BUSY},
    {"MapFails", FileCall::MAP, SQLITE_IOERR_SHMMAP},
    {"MapHasNoRoom", FileCall::MAP, SQLITE_IOERR_SHMSIZE},
    {"SharedLockFails", FileCall::SHARED_LOCK, SQLITE_IOERR_SHMLOCK},
    {"SharedLockIsBusy", FileCall::SHARED_LOCK, SQLITE_BUSY},
};

/// The call to try after this one. Those far behind are much alike, and only every ninth is tried, unless
/// MSG_CONSUMER_EVERY_FILE_FAULT is set.
int next_call(int number);

/// A file system for SQLite that fails where a test says. The default for all that is opened while it exists, and made
/// of the real one: what was opened through that shares locks with what is opened through this. Waiting takes no time.
/// One at a time, for one thread.
class FaultyFiles {
 public:
  FaultyFiles();
  ~FaultyFiles();
  FaultyFiles(const FaultyFiles&) = delete;
  FaultyFiles& operator=(const FaultyFiles&) = delete;

  /// Lets the call with this number (from 0, counted from now) fail and, if it `persists`, all after it. A write that
  /// fails has written half; a short read is one of which the system brings half at a time.
  void arm(const FileFault& fault, int number, bool persists);
  /// Lets no call fail any more. Returns whether any did.
  bool disarm();

  /// Told of each call that changes a file, before and after it was made.
  std::function<void()> on_change;
  /// Told of each call, before it is made.
  std::function<void(FileCall)> on_call;
  /// Told of each file or folder that anybody brings to the disk.
  std::function<void(int descriptor)> on_sync;

  /// How often SQLite has waited for a lock.
  int waits() const { return _waits; }

  void count_wait() { ++_waits; }
  /// What the wrapped calls ask: the code to fail with, or SQLITE_OK.
  int strike(FileCall call);
  void changed() const {
    if (on_change) on_change();
  }

  void synced(int descriptor) const {
    if (on_sync) on_sync(descriptor);
  }

  static constexpr const char* NAME = "faulty";

 private:
  sqlite3_vfs _vfs;
  FileFault _fault{};
  int _number = -1;
  bool _persists = false;
  bool _struck = false;
  int _waits = 0;
};

}  // namespace msg_consumer::test

#endif
