// SPDX-License-Identifier: Apache-2.0
// An XML backup is refused, or becomes lines of which the last says that they are all.
#include "msgctl/backup/xml-backup.hpp"

#include <algorithm>

#include "msgctl/failure.hpp"
#include "target.hpp"

using namespace msg_consumer;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view left = fuzz::view(data, size);
  std::string last;
  const auto read = [&](char* buffer, std::size_t room) {
    // Small pieces, so that something always lies across two.
    const std::size_t count = std::min({room, left.size(), std::size_t{7}});
    std::copy_n(left.data(), count, buffer);
    left.remove_prefix(count);
    return count;
  };
  const auto write = [&](const std::string& line) {
    fuzz::require(line.ends_with("}\n"));
    last = line;
    return true;
  };
  try {
    msgctl::convert_backup(read, write);
    fuzz::require(last.starts_with("{\"kind\":\"end\""));
  } catch (const msgctl::Failure&) {
  }
  return 0;
}
