// SPDX-License-Identifier: Apache-2.0
#include "timers.hpp"

#include <ctime>
#include <system_error>
#include <utility>

namespace msg_consumer::service::emulator {

void Timers::after(std::chrono::milliseconds delay, std::function<void()> work) {
  auto waiting = std::make_unique<Waiting>(Waiting{.timers = *this, .work = std::move(work), .source = nullptr});
  const auto microseconds = static_cast<std::uint64_t>(std::chrono::microseconds(delay).count());
  sd_event_source* source = nullptr;
  const int result =
      sd_event_add_time_relative(_loop, &source, CLOCK_MONOTONIC, microseconds, 1, on_time, waiting.get());
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot make a timer");
  }
  waiting->source.reset(source);
  Waiting* const key = waiting.get();
  _waiting.emplace(key, std::move(waiting));
}

int Timers::on_time(sd_event_source* /*source*/, std::uint64_t /*time*/, void* waiting) noexcept {
  auto* const self = static_cast<Waiting*>(waiting);
  // The work may forget everything that waits.
  const std::unique_ptr<Waiting> due = std::move(self->timers._waiting.extract(self).mapped());
  due->work();
  return 0;
}

}  // namespace msg_consumer::service::emulator
