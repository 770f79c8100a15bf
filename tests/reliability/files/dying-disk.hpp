// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_FILES_DYING_DISK_HPP
#define MSG_CONSUMER_TESTS_FILES_DYING_DISK_HPP

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "service/file-descriptor.hpp"

namespace msg_consumer::test {

/// Knows what of a folder is on the disk: the bytes of each file, and the names in each folder, as they were when it
/// was last brought there. Whatever was done since may be lost when the machine dies, wholly or in part.
class DyingDisk {
 public:
  /// The folder is there and empty.
  explicit DyingDisk(std::filesystem::path folder);

  /// The file or folder was brought to the disk.
  void note_sync(int descriptor);

  /// Makes of an empty folder what is left when the machine dies now. Of what was not brought to the disk, each name
  /// and each sector is there or not, as it happens; memory that processes share is gone, or is rubbish.
  void leave(const std::filesystem::path& target, std::mt19937& random) const;

 private:
  using Names = std::map<std::string, ino_t>;

  void keep_open(const std::string& path);
  static Names names_in(const std::filesystem::path& folder);
  void leave_folder(const std::string& now, ino_t folder, const std::filesystem::path& target,
                    std::mt19937& random) const;
  void leave_file(const std::string& now, ino_t file, const std::filesystem::path& target, std::mt19937& random) const;
  std::string path_of(ino_t file, const std::string& now) const;

  std::filesystem::path _folder;
  std::map<ino_t, std::string> _bytes;
  std::map<ino_t, Names> _names;
  /// Kept open, so that no new file is taken for an old one.
  std::map<ino_t, service::FileDescriptor> _open;
};

}  // namespace msg_consumer::test

#endif
