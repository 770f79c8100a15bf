// SPDX-License-Identifier: Apache-2.0
#include "kit/libraries.hpp"

#include <cstdlib>
#include <utility>

#include "kit/failure.hpp"

namespace msg_consumer::conformance {

Libraries::Libraries(std::filesystem::path folder) : _folder(std::move(folder)) {
  std::filesystem::create_directory(_folder);
}

void Libraries::replace(const std::string& soname, const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw CannotCheck("there is no library at " + path);
  std::filesystem::create_symlink(std::filesystem::canonical(path), _folder / soname);
}

Environment Libraries::environment() const {
  const char* before = std::getenv("LD_LIBRARY_PATH");
  std::string path = _folder.string();
  if (before != nullptr && *before != '\0') path.append(":").append(before);
  return {{"LD_LIBRARY_PATH", path}};
}

}  // namespace msg_consumer::conformance
