// SPDX-License-Identifier: Apache-2.0
#include "stream.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace msg_consumer::service::transfer {
namespace {

bool is_stream_socket(int descriptor) {
  int type = 0;
  socklen_t size = sizeof(type);
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

bool is_pipe(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

// Whether an open file waits is a property that all who hold it share: the caller's own must not change. A socket is
// told with each call, a pipe is opened anew.
FileDescriptor own(int descriptor, Stream::Direction direction) {
  if (is_stream_socket(descriptor)) {
    return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
  }
  if (!is_pipe(descriptor)) {
    throw std::invalid_argument("the descriptor is neither a pipe nor a stream socket");
  }
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  const int access = direction == Stream::Direction::READ ? O_RDONLY : O_WRONLY;
  FileDescriptor file(open(path.c_str(), access | O_NONBLOCK | O_CLOEXEC));
  if (!file) {
    throw std::invalid_argument("the service may not open the pipe: hand over a socket");
  }
  return file;
}

bool means_later(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

Stream::Stream(int descriptor, Direction direction)
    : _file(own(descriptor, direction)), _is_socket(!is_pipe(descriptor)) {}

std::optional<std::size_t> Stream::read(char* buffer, std::size_t size) const {
  const ssize_t count = _is_socket ? recv(_file.get(), buffer, size, MSG_DONTWAIT) : ::read(_file.get(), buffer, size);
  if (count >= 0) {
    return static_cast<std::size_t>(count);
  }
  if (means_later(errno)) {
    return std::nullopt;
  }
  throw std::system_error(errno, std::generic_category(), "cannot read from the caller");
}

std::size_t Stream::write(std::string_view bytes) const {
  const ssize_t count = _is_socket ? send(_file.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL)
                                   : ::write(_file.get(), bytes.data(), bytes.size());
  if (count >= 0) {
    return static_cast<std::size_t>(count);
  }
  if (means_later(errno)) {
    return 0;
  }
  throw std::system_error(errno, std::generic_category(), "cannot write to the caller");
}

}  // namespace msg_consumer::service::transfer
