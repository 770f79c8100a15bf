// SPDX-License-Identifier: Apache-2.0
#include "kit/temp-folder.hpp"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace msg_consumer::conformance {

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "msg-consumer-conformance-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  _path = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

}  // namespace msg_consumer::conformance
