// SPDX-License-Identifier: Apache-2.0
#include "run/store-copy.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <string_view>

#include "run/descriptor.hpp"
#include "run/failure.hpp"

namespace msg_consumer_run {
namespace {

namespace fs = std::filesystem;

// The head of every SQLite database: a text to tell it by, and at a fixed place the application's own number.
constexpr std::string_view database_mark("SQLite format 3\0", 16);
constexpr std::size_t application_id_offset = 68;
constexpr std::size_t head_size = 100;

std::uint32_t big_endian(std::string_view bytes) {
  std::uint32_t number = 0;
  for (const char byte : bytes) number = number << 8U | static_cast<unsigned char>(byte);
  return number;
}

// A copy made while the service writes would hold half of a change.
void check_idle(const std::string& path) {
  const Descriptor lock(open((path + ".lock").c_str(), O_RDONLY | O_CLOEXEC));
  if (lock && flock(lock.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw Failure("the store '" + path + "' is in use: end its service first, or copy it with 'sqlite3 \".backup\"'");
  }
}

void copy_path(const fs::path& from, const fs::path& to, fs::copy_options how) try {
  fs::copy(from, to, how);
} catch (const fs::filesystem_error& error) {
  throw Failure(std::string("cannot copy: ") + error.what());
}

// The emulator writes to what may be read-only where it comes from.
void copy_writable(const fs::path& from, const fs::path& to) {
  copy_path(from, to, fs::copy_options::none);
  fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
}

}  // namespace

void check_store(const std::string& path) {
  std::array<char, head_size> head{};
  std::ifstream file(path, std::ios::binary);
  file.read(head.data(), head.size());
  const std::string_view bytes(head.data(), static_cast<std::size_t>(file.gcount()));
  if (bytes.size() < head_size || !bytes.starts_with(database_mark)) {
    throw Failure("'" + path + "' is not a message store: it is no SQLite database");
  }
  if (big_endian(bytes.substr(application_id_offset, 4)) != MSG_CONSUMER_RUN_APPLICATION_ID) {
    throw Failure("'" + path + "' is not a message store, but another application's database");
  }
  check_idle(path);
}

void copy_store(const std::string& path, const fs::path& target) {
  copy_writable(path, target);
  const fs::path log = path + "-wal";
  if (fs::exists(log)) copy_writable(log, target.string() + "-wal");
}

void copy_attachments(const std::string& folder, const fs::path& target) {
  copy_path(folder, target, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

}  // namespace msg_consumer_run
