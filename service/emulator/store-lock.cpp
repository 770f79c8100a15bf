// SPDX-License-Identifier: Apache-2.0
#include "store-lock.hpp"

#include <csignal>
#include <stdexcept>

#include <msg-consumer-platform/logging.hpp>

#include "schema/sqlite.hpp"

namespace msg_consumer::service::emulator {
namespace {

constexpr int PATIENCE_MS = 5000;

/// The event loop alone takes signals.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t _before = {};
};

}  // namespace

void StoreLock::hold(const std::string& database, std::chrono::milliseconds time) {
  release();
  _state = State::FREE;
  {
    const SignalsBlocked blocked;
    _thread = std::thread(&StoreLock::run, this, database, time);
  }
  std::unique_lock lock(_mutex);
  _changed.wait(lock, [this] { return _state != State::FREE; });
  if (_state == State::FAILED) {
    throw std::runtime_error("the store cannot be locked");
  }
}

void StoreLock::run(const std::string& path, std::chrono::milliseconds time) noexcept try {
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READWRITE);
  sqlite3_busy_timeout(database.get(), PATIENCE_MS);
  const schema::Transaction transaction(database.get());
  set(State::HELD);
  std::unique_lock lock(_mutex);
  _changed.wait_for(lock, time, [this] { return _state == State::RELEASED; });
  _state = State::RELEASED;
} catch (const std::exception& error) {
  LOG_ERROR(HERE, "[ERROR] the store cannot be locked: %s", error.what());
  set(State::FAILED);
}

void StoreLock::set(State state) {
  const std::lock_guard lock(_mutex);
  _state = state;
  _changed.notify_all();
}

void StoreLock::release() noexcept {
  if (_thread.joinable()) {
    set(State::RELEASED);
    _thread.join();
  }
}

bool StoreLock::is_held() const {
  const std::lock_guard lock(_mutex);
  return _state == State::HELD;
}

}  // namespace msg_consumer::service::emulator
