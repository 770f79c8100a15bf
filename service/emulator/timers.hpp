// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_TIMERS_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_TIMERS_HPP

#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <memory>
#include <unordered_map>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::service::emulator {

/// Does things later.
class Timers {
 public:
  /// Must be called before anything is put off; `loop` must outlive what is put off, or `forget`.
  void use(sd_event* loop) { _loop = loop; }

  /// `work` must not throw; it is dropped, with all that it holds, once it is done or forgotten.
  void after(std::chrono::milliseconds delay, std::function<void()> work);
  void forget() noexcept { _waiting.clear(); }

 private:
  struct Waiting {
    Timers& timers;
    std::function<void()> work;
    Owned<sd_event_source, sd_event_source_disable_unref> source;
  };

  static int on_time(sd_event_source* source, std::uint64_t time, void* waiting) noexcept;

  sd_event* _loop = nullptr;
  std::unordered_map<Waiting*, std::unique_ptr<Waiting>> _waiting;
};

}  // namespace msg_consumer::service::emulator

#endif
