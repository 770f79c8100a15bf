// SPDX-License-Identifier: Apache-2.0
#include "run/link.hpp"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "run/failure.hpp"

namespace msg_consumer_run {

void Link::send(const Note& note) const noexcept {
  // Whoever has gone does not need it any more.
  static_cast<void>(::send(_socket.get(), &note, sizeof note, MSG_NOSIGNAL));
}

std::optional<Note> Link::receive() const noexcept {
  Note note{};
  ssize_t size = 0;
  do {
    size = recv(_socket.get(), &note, sizeof note, 0);
    // When the other side goes with a note unread, that is said before its own last one.
  } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
  return size == sizeof note ? std::optional(note) : std::nullopt;
}

std::pair<Link, Link> make_link() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw Failure(std::string("cannot make a socket: ") + std::strerror(errno));
  }
  return {Link(Descriptor(ends[0])), Link(Descriptor(ends[1]))};
}

}  // namespace msg_consumer_run
