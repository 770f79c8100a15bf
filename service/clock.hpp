// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CLOCK_HPP
#define MSG_CONSUMER_SERVICE_CLOCK_HPP

#include <chrono>
#include <cstdint>

namespace msg_consumer::service {

/// Tells the time that messages are stamped with.
class Clock {
 public:
  Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  /// Milliseconds since 1970.
  virtual std::int64_t now_ms() const = 0;
};

class SystemClock final : public Clock {
 public:
  std::int64_t now_ms() const override {
    using std::chrono::milliseconds;
    return std::chrono::duration_cast<milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  }
};

}  // namespace msg_consumer::service

#endif
