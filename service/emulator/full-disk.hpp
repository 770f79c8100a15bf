// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_FULL_DISK_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_FULL_DISK_HPP

#include <sqlite3.h>

#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Lets this process run out of room: SQLite finds its disk full, and so does whoever writes to a file with `write`.
/// There is one for the process, as there is one disk.
class FullDisk {
 public:
  static FullDisk& instance();

  /// Puts itself between SQLite and its files: those that are opened from now on.
  void install();
  /// The event loop has done one thing. All that failed of it for want of room counts as one time: a change may be
  /// written in several attempts.
  void turn_ends();

  void set(const DiskFull& state);
  Json state() const;

  /// Whether something cannot be written now.
  bool refuses();

 private:
  static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* result_flags);
  static int write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset);

  bool _is_full = false;
  int _left = 0;
  bool _has_refused = false;
};

}  // namespace msg_consumer::service::emulator

#endif
