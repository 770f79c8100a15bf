// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_FILE_DESCRIPTOR_HPP
#define MSG_CONSUMER_SERVICE_FILE_DESCRIPTOR_HPP

#include <unistd.h>

#include <utility>

namespace msg_consumer::service {

/// Owns an open file.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor) : _descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(_descriptor, other._descriptor);
    return *this;
  }
  ~FileDescriptor() {
    if (_descriptor >= 0) {
      static_cast<void>(close(_descriptor));
    }
  }

  explicit operator bool() const { return _descriptor >= 0; }
  int get() const { return _descriptor; }

 private:
  int _descriptor;
};

}  // namespace msg_consumer::service

#endif
