// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_TEMP_DIR_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_TEMP_DIR_HPP

#include <filesystem>
#include <string>
#include <string_view>

namespace msg_consumer::test {

/// A new, empty folder that is removed with all that is in it.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  TempDir(TempDir&&) = delete;
  TempDir& operator=(TempDir&&) = delete;
  ~TempDir();

  [[nodiscard]] const std::filesystem::path& path() const { return _path; }

  /// The path of `name` in the folder, as text for C interfaces.
  [[nodiscard]] std::string file(std::string_view name) const { return (_path / name).string(); }

 private:
  std::filesystem::path _path;
};

/// Replaces what the file holds; throws when that fails.
void write_file(const std::filesystem::path& path, std::string_view content);

/// What the file holds; empty when it cannot be read.
std::string read_file(const std::filesystem::path& path);

}  // namespace msg_consumer::test

#endif
