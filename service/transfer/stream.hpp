// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_STREAM_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_STREAM_HPP

#include <cstddef>
#include <optional>
#include <string_view>

#include "../file-descriptor.hpp"

namespace msg_consumer::service::transfer {

/// A caller's pipe or stream socket, read or written without ever waiting for the other end.
class Stream {
 public:
  enum class Direction { READ, WRITE };

  /// Takes a descriptor of its own. Throws `std::invalid_argument` for what is neither a pipe nor a stream socket, and
  /// for a pipe that the service may not open.
  Stream(int descriptor, Direction direction);

  int descriptor() const { return _file.get(); }

  /// The bytes read, none at the end; nothing when there are none yet. Throws `std::system_error`.
  std::optional<std::size_t> read(char* buffer, std::size_t size) const;
  /// The bytes written, 0 when there is no room. Throws `std::system_error`, also when the reader has gone.
  std::size_t write(std::string_view bytes) const;

 private:
  FileDescriptor _file;
  bool _is_socket;
};

}  // namespace msg_consumer::service::transfer

#endif
