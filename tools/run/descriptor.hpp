// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_DESCRIPTOR_HPP
#define MSG_CONSUMER_RUN_DESCRIPTOR_HPP

#include <unistd.h>

#include <utility>

namespace msg_consumer_run {

/// Owns an open file.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(_number, other._number);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(); }

  explicit operator bool() const { return _number >= 0; }
  [[nodiscard]] int get() const { return _number; }
  void reset() {
    if (_number >= 0) static_cast<void>(close(std::exchange(_number, -1)));
  }

 private:
  int _number = -1;
};

}  // namespace msg_consumer_run

#endif
