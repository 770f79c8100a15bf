// SPDX-License-Identifier: Apache-2.0
#include "msgctl/input.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "msgctl/failure.hpp"
#include "msgctl/owned.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

constexpr std::size_t longest_text = std::size_t{8} * 1024 * 1024;

std::string read_all(std::FILE* file, const std::string& name) {
  std::string text;
  std::array<char, 65536> buffer{};
  std::size_t count = 0;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), file)) > 0) {
    text.append(buffer.data(), count);
    if (text.size() > longest_text) throw Failure(ExitCode::Refused, "the text in " + name + " is longer than 8 MiB");
  }
  if (std::ferror(file) != 0) throw Failure(ExitCode::Failed, "cannot read " + name + ": " + std::strerror(errno));
  return text;
}

}  // namespace

std::string read_standard_input() { return read_all(stdin, "the standard input"); }

std::string read_input(const std::string& path) {
  if (path == "-") return read_standard_input();
  const Owned<std::FILE, std::fclose> file(std::fopen(path.c_str(), "re"));
  if (!file) throw Failure(ExitCode::Refused, "cannot read '" + path + "': " + std::strerror(errno));
  return read_all(file.get(), "'" + path + "'");
}

void check_sendable(const std::string& text, const char* what) {
  if (is_sendable(text)) return;
  throw Failure(ExitCode::Refused, std::string(what) + " is not UTF-8, so nothing was sent",
                "Convert it first, for example with 'iconv -t UTF-8'.");
}

}  // namespace msgctl
