// SPDX-License-Identifier: Apache-2.0
#include "instance-lock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace msg_consumer::service {
namespace {

constexpr std::chrono::milliseconds PAUSE{10};

// Whoever can open the file, for reading only even, can lock it, and keep the service from starting.
constexpr mode_t LOCK_MODE = 0600;

bool try_lock(const FileDescriptor& file, const std::string& path) {
  if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
    return true;
  }
  if (errno != EWOULDBLOCK) {
    throw std::system_error(errno, std::generic_category(), "cannot lock " + path);
  }
  return false;
}

FileDescriptor lock(const std::string& path, std::chrono::milliseconds patience) {
  FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, LOCK_MODE));
  if (!file || fchmod(file.get(), LOCK_MODE) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot open the lock file " + path);
  }
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!try_lock(file, path)) {
    if (std::chrono::steady_clock::now() >= end) {
      throw std::runtime_error("another instance of the service is running: it holds the lock " + path);
    }
    std::this_thread::sleep_for(PAUSE);
  }
  return file;
}

}  // namespace

InstanceLock::InstanceLock(const std::string& database, std::chrono::milliseconds patience)
    : _file(lock(database + ".lock", patience)) {}

}  // namespace msg_consumer::service
