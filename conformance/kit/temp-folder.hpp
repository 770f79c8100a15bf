// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_TEMP_FOLDER_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_TEMP_FOLDER_HPP

#include <filesystem>
#include <string_view>

namespace msg_consumer::conformance {

/// A new, empty folder that is removed with all that is in it.
class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  [[nodiscard]] const std::filesystem::path& path() const { return _path; }

 private:
  std::filesystem::path _path;
};

}  // namespace msg_consumer::conformance

#endif
