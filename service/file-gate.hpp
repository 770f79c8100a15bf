// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_FILE_GATE_HPP
#define MSG_CONSUMER_SERVICE_FILE_GATE_HPP

#include <string>
#include <utility>

#include "file-descriptor.hpp"
#include "locations.hpp"
#include "status.hpp"

namespace msg_consumer::service {

/// Opens the files that callers name. The service has rights that its callers lack, so it reaches no file through a
/// symbolic link, neither the kernel's files nor its own and, where a folder is set aside for files handed over, none
/// outside it. Every function throws the refusal otherwise.
class FileGate {
 public:
  /// A file that was made, and the folder it is in.
  struct NewFile {
    FileDescriptor folder;
    std::string name;
    FileDescriptor file;

    void sync_folder() const;
    void remove() const noexcept;
  };

  /// The folder of attachments must exist.
  explicit FileGate(Locations places) : _places(std::move(places)) {}

  /// Opens a caller's file for reading.
  FileDescriptor open_source(const std::string& path) const;
  /// Opens an attachment for reading.
  FileDescriptor open_stored(const std::string& path) const;
  /// Makes a file for a caller, which does not exist yet.
  NewFile create_target(const std::string& path) const;

 private:
  struct Place;

  Place walk(const std::string& path, Status when_missing) const;
  void check_bounds(const Place& place) const;
  bool is_database(const FileDescriptor& file) const;

  Locations _places;
};

/// Gives a file just made its mode, whatever the umask; the set-group-id bit of a folder stays. Returns whether it did.
bool set_mode(const FileDescriptor& file, unsigned mode) noexcept;

/// Waits until a file, or a folder's entries, are on the disk. Throws the refusal.
void sync(const FileDescriptor& file);

inline constexpr unsigned FILE_MODE = 0640;

}  // namespace msg_consumer::service

#endif
