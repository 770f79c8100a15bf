// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_PROGRESS_HPP
#define MSGCTL_PROGRESS_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace msgctl {

/// Tells people how far long work is: one line on the standard error, where that is a terminal, gone when the work is
/// done.
class Progress {
 public:
  /// `what` stands in front of the count: "messages exported:".
  explicit Progress(std::string what);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// `count` of them are done; the share is that of `done` in `total`, where that is known.
  void show(std::int64_t count, std::int64_t done, std::optional<std::int64_t> total);

  /// Takes the line away, before something else is written.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  std::string _what;
  bool _on_terminal;
  bool _shown = false;
  Clock::time_point _next;
};

}  // namespace msgctl

#endif
