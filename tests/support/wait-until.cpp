// SPDX-License-Identifier: Apache-2.0
#include "support/wait-until.hpp"

#include <glib.h>

#include <msg-consumer-platform/releaser.hpp>
#include <thread>

namespace msg_consumer::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds poll_interval(2);

bool poll_until(const std::function<bool()>& predicate, std::chrono::milliseconds timeout,
                const std::function<void()>& pass_time) {
  const auto deadline = Clock::now() + timeout;
  while (!predicate()) {
    if (Clock::now() >= deadline) {
      return false;
    }
    pass_time();
  }
  return true;
}

// A source in a context that keeps waking it up, so that an iteration never blocks for longer than the interval.
class WakeUpTimer {
 public:
  explicit WakeUpTimer(GMainContext* context)
      : _source(g_timeout_source_new(static_cast<guint>(poll_interval.count()))) {
    g_source_set_callback(
        _source.get(), [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(_source.get(), context);
  }
  WakeUpTimer(const WakeUpTimer&) = delete;
  WakeUpTimer& operator=(const WakeUpTimer&) = delete;
  WakeUpTimer(WakeUpTimer&&) = delete;
  WakeUpTimer& operator=(WakeUpTimer&&) = delete;
  ~WakeUpTimer() { g_source_destroy(_source.get()); }

 private:
  Owned<GSource, g_source_unref> _source;
};

}  // namespace

bool wait_until(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
  return poll_until(predicate, timeout, [] { std::this_thread::sleep_for(poll_interval); });
}

bool iterate_until(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
  const Owned<GMainContext, g_main_context_unref> context(g_main_context_ref_thread_default());
  const WakeUpTimer timer(context.get());
  return poll_until(predicate, timeout, [&context] { g_main_context_iteration(context.get(), TRUE); });
}

}  // namespace msg_consumer::test
