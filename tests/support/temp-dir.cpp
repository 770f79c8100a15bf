// SPDX-License-Identifier: Apache-2.0
#include "support/temp-dir.hpp"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace msg_consumer::test {

TempDir::TempDir() {
  std::string name = (std::filesystem::temp_directory_path() / "msg-consumer-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), name);
  }
  _path = name;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

void write_file(const std::filesystem::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file << content << std::flush;
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace msg_consumer::test
