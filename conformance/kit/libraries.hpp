// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_LIBRARIES_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_LIBRARIES_HPP

#include <filesystem>
#include <string>

#include "kit/process.hpp"

namespace msg_consumer::conformance {

/// A folder in which the dynamic linker finds libraries under the names that programs are linked with, whatever their
/// files are called.
class Libraries {
 public:
  explicit Libraries(std::filesystem::path folder);

  /// Puts a library in the place of the one that is installed. Throws `CannotCheck` when there is no such file.
  void replace(const std::string& soname, const std::string& path);

  /// What has the dynamic linker look here first.
  [[nodiscard]] Environment environment() const;

 private:
  std::filesystem::path _folder;
};

}  // namespace msg_consumer::conformance

#endif
