// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CONTENT_FILES_HPP
#define MSG_CONSUMER_SERVICE_CONTENT_FILES_HPP

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace msg_consumer::service {

/// Copies of attachments on their way into the store. Made before the transaction that names them, put in their place
/// inside it, and removed again unless it was committed.
class IncomingFiles {
 public:
  struct File {
    std::filesystem::path path;  ///< where the copy is
    std::string name;            ///< what its owner calls it
    std::int64_t size;
  };

  IncomingFiles() = default;
  IncomingFiles(IncomingFiles&& other) noexcept;
  IncomingFiles(const IncomingFiles&) = delete;
  IncomingFiles& operator=(const IncomingFiles&) = delete;
  IncomingFiles& operator=(IncomingFiles&&) = delete;
  ~IncomingFiles();

  const std::vector<File>& files() const { return _files; }
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
};

/// The files of messages' attachments: `<root>/<message id>/<n>-<name>`.
class ContentFiles {
 public:
  /// What all attachments of a message may hold together.
  static constexpr std::int64_t MAX_TOTAL_SIZE = std::int64_t{100} * 1024 * 1024;

  /// Makes the folder when it is missing. Throws `std::filesystem::filesystem_error`.
  explicit ContentFiles(std::filesystem::path root);

  /// Copies files into the store. Refused: a file that is not a regular one, cannot be read, or makes the whole larger
  /// than `limit`.
  IncomingFiles copy_in(const std::vector<std::string>& paths, std::int64_t limit) const;
  /// Moves the copies into the message's folder, numbered from `first_number` on. Everything is on the disk then.
  void place(IncomingFiles& incoming, int message_id, std::size_t first_number) const;

  /// Copies a stored file to a new file. Refused when the target exists or cannot be made.
  static void copy_out(const std::string& source, const std::string& target);

  void remove(int message_id) const noexcept;
  /// Removes what an instance left that died between copying and committing, or between committing and removing.
  void remove_orphans(const std::function<bool(int message_id)>& exists) const;

 private:
  std::filesystem::path folder_of(int message_id) const;

  std::filesystem::path _root;
};

}  // namespace msg_consumer::service

#endif
