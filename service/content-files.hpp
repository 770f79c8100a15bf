// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CONTENT_FILES_HPP
#define MSG_CONSUMER_SERVICE_CONTENT_FILES_HPP

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "file-gate.hpp"
#include "locations.hpp"

namespace msg_consumer::service {

/// Copies of attachments on their way into the store. Made before the transaction that names them, put in their place
/// inside it, and removed again unless it was committed.
class IncomingFiles {
 public:
  struct File {
    std::filesystem::path path;  ///< where the copy is
    std::string name;            ///< what its owner calls it
    std::int64_t size;
    std::string stored_path = {};  ///< what its message names it by, once it is in its place
  };

  IncomingFiles() = default;
  IncomingFiles(IncomingFiles&& other) noexcept;
  IncomingFiles(const IncomingFiles&) = delete;
  IncomingFiles& operator=(const IncomingFiles&) = delete;
  IncomingFiles& operator=(IncomingFiles&&) = delete;
  ~IncomingFiles();

  const std::vector<File>& files() const { return _files; }

  // For a copy whose bytes come piece by piece, in what `ContentFiles::stage` made.
  void begin(const std::string& name);
  /// Adds to the file that was begun last.
  void append(std::string_view bytes);
  /// Has what was added so far written to the disk, so that there is less to wait for in the end.
  void flush();
  /// The file is on the disk then.
  void finish();

  /// The transaction was committed: the files stay.
  void keep() noexcept {
    _files.clear();
    _folder.clear();
  }

 private:
  friend class ContentFiles;

  std::filesystem::path _staging;
  std::filesystem::path _folder;
  std::vector<File> _files;
  FileDescriptor _begun{-1};
};

/// The files that a message is known to have.
struct MessageFiles {
  bool all = false;  ///< the message cannot be read: whatever there is may be its own
  std::set<std::string> names = {};

  bool operator==(const MessageFiles&) const = default;
};

/// Looks a message's files up; nothing for a message that does not exist.
using Inventory = std::function<std::optional<MessageFiles>(int message_id)>;

/// The files of messages' attachments: `<root>/<message id>/<n>-<name>`.
class ContentFiles {
 public:
  /// What all attachments of a message may hold together.
  static constexpr std::int64_t MAX_TOTAL_SIZE = std::int64_t{100} * 1024 * 1024;

  /// Makes the folder when it is missing. Throws `std::filesystem::filesystem_error`.
  explicit ContentFiles(const Locations& places);

  /// Copies files into the store. Refused: a file that is not a regular one, cannot be read, or makes the whole larger
  /// than `limit`.
  IncomingFiles copy_in(const std::vector<std::string>& paths, std::int64_t limit) const;
  /// A place for copies that are not there yet.
  IncomingFiles stage() const;
  /// Moves the copies into the message's folder, numbered from `first_number` on. Everything is on the disk then.
  void place(IncomingFiles& incoming, int message_id, std::size_t first_number) const;

  // A stored file's path is one below the folder of attachments; an absolute one must lead there as well.
  /// Copies a stored file to a new file. Refused when the target exists or cannot be made.
  void copy_out(const std::string& source, const std::string& target) const;

  /// Opens an attachment for reading.
  FileDescriptor open_stored(const std::string& path) const { return _gate.open_stored(_root / path); }

  void remove(int message_id) const noexcept;
  /// Binds the folder to a store, for this object's life. Throws `std::runtime_error` when it is another store's, or in
  /// use: message ids are numbers that another store has as well.
  void claim(std::string_view store_id);
  /// Removes what an instance left that died between copying and committing, or between committing and removing.
  void remove_orphans(const Inventory& inventory) const;

 private:
  std::filesystem::path folder_of(int message_id) const;

  std::filesystem::path _root;
  FileGate _gate;
  FileDescriptor _owner{-1};
};

}  // namespace msg_consumer::service

#endif
