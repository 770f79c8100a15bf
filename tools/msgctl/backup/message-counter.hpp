// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BACKUP_MESSAGE_COUNTER_HPP
#define MSGCTL_BACKUP_MESSAGE_COUNTER_HPP

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace msgctl {

/// Counts the messages in the lines of an exported store, which come in pieces.
class MessageCounter {
 public:
  void take(std::string_view piece) {
    while (!piece.empty()) {
      const std::size_t end = piece.find('\n');
      const std::size_t wanted = _first_line.size() < longest ? longest - _first_line.size() : 0;
      _line.append(
          piece.substr(0, std::min({end, message.size() - std::min(_line.size(), message.size()), piece.size()})));
      if (_lines == 0) _first_line.append(piece.substr(0, std::min({end, wanted, piece.size()})));
      if (end == std::string_view::npos) return;
      _messages += _line == message ? 1 : 0;
      _line.clear();
      ++_lines;
      piece.remove_prefix(end + 1);
    }
  }

  [[nodiscard]] std::int64_t messages() const { return _messages; }
  [[nodiscard]] std::int64_t lines() const { return _lines; }
  /// The line that says how much there will be.
  [[nodiscard]] const std::string& first_line() const { return _first_line; }

 private:
  static constexpr std::string_view message = R"({"kind":"message")";
  static constexpr std::size_t longest = 4096;

  std::string _line;  // as much of its beginning as is compared
  std::string _first_line;
  std::int64_t _messages = 0;
  std::int64_t _lines = 0;
};

}  // namespace msgctl

#endif
