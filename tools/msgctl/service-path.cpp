// SPDX-License-Identifier: Apache-2.0
#include "msgctl/service-path.hpp"

#include <filesystem>

#include "msgctl/failure.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

namespace fs = std::filesystem;

std::string absolute_path(const std::string& path) {
  if (!is_sendable(path)) throw Failure(ExitCode::Refused, "the path is not UTF-8: " + path, "Rename the file first.");
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  if (error) throw Failure(ExitCode::Refused, "'" + path + "' is not a path: " + error.message());
  return absolute.string();
}

}  // namespace

std::string path_of_existing_file(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  if (!fs::exists(status)) {
    throw Failure(ExitCode::Refused, "cannot read '" + path + "': " + error.message());
  }
  if (!fs::is_regular_file(status)) {
    throw Failure(ExitCode::Refused, "'" + path + "' is not a regular file", "Only regular files can be sent.");
  }
  return absolute_path(path);
}

std::string path_of_new_file(const std::string& path) {
  std::error_code error;
  if (fs::exists(fs::symlink_status(path, error))) {
    throw Failure(ExitCode::Refused, "'" + path + "' exists already", "Nothing is overwritten: choose another name.");
  }
  return absolute_path(path);
}

}  // namespace msgctl
