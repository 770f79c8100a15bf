// SPDX-License-Identifier: Apache-2.0
#include "instance-lock.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace msg_consumer::service {
namespace {

FileDescriptor lock(const std::string& path) {
  FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
  if (!file) {
    throw std::system_error(errno, std::generic_category(), "cannot open the lock file " + path);
  }
  if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
    return file;
  }
  if (errno == EWOULDBLOCK) {
    throw std::runtime_error("another instance of the service is running: it holds the lock " + path);
  }
  throw std::system_error(errno, std::generic_category(), "cannot lock " + path);
}

}  // namespace

InstanceLock::InstanceLock(const std::string& database) : _file(lock(database + ".lock")) {}

}  // namespace msg_consumer::service
