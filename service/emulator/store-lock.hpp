// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_STORE_LOCK_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_STORE_LOCK_HPP

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace msg_consumer::service::emulator {

/// Another writer, who keeps the store locked for a while. He has a thread and a connection of his own, for the
/// service waits for him in its event loop.
class StoreLock {
 public:
  StoreLock() = default;
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;
  ~StoreLock() { release(); }

  /// Holds the lock when it returns, instead of one that was held before. Throws `std::runtime_error` when it cannot be
  /// taken.
  void hold(const std::string& database, std::chrono::milliseconds time);
  void release() noexcept;
  bool is_held() const;

 private:
  enum class State { FREE, HELD, FAILED, RELEASED };

  void run(const std::string& database, std::chrono::milliseconds time) noexcept;
  void set(State state);

  mutable std::mutex _mutex;
  std::condition_variable _changed;
  State _state = State::FREE;
  std::thread _thread;
};

}  // namespace msg_consumer::service::emulator

#endif
