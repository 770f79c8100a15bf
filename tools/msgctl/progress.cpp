// SPDX-License-Identifier: Apache-2.0
#include "msgctl/progress.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace msgctl {
namespace {

// What is done before anybody wonders needs no line.
constexpr std::chrono::milliseconds first_pause(300);
constexpr std::chrono::milliseconds pause(100);

}  // namespace

Progress::Progress(std::string what)
    : _what(std::move(what)), _on_terminal(isatty(STDERR_FILENO) == 1), _next(Clock::now() + first_pause) {}

void Progress::show(std::int64_t count, std::int64_t done, std::optional<std::int64_t> total) {
  if (!_on_terminal || Clock::now() < _next) return;
  std::string line = "\r\033[K" + _what + " " + std::to_string(count);
  if (total && *total > 0) line += " (" + std::to_string(std::clamp<std::int64_t>(done * 100 / *total, 0, 100)) + " %)";
  static_cast<void>(std::fputs(line.c_str(), stderr));
  _shown = true;
  _next = Clock::now() + pause;
}

void Progress::clear() {
  if (_shown) static_cast<void>(std::fputs("\r\033[K", stderr));
  _shown = false;
}

}  // namespace msgctl
