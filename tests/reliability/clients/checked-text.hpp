// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_CLIENTS_CHECKED_TEXT_HPP
#define MSG_CONSUMER_TESTS_CLIENTS_CHECKED_TEXT_HPP

#include <cstdint>
#include <optional>
#include <string>

namespace msg_consumer::test {

inline std::uint32_t checksum(const std::string& text) {
  std::uint32_t sum = 2166136261U;
  for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 16777619U;
  return sum;
}

/// The text of the message with this number (from 0) in its thread, which tells when a piece of it is missing or
/// another's.
inline std::string checked_text(int number) {
  const std::string text =
      std::to_string(number) + " needle " + std::string(static_cast<std::size_t>(number % 7) * 900, 'x');
  return text + " " + std::to_string(checksum(text));
}

/// The number of such a text; nothing when it is not whole.
inline std::optional<int> number_of(const std::string& text) {
  const int number = std::atoi(text.c_str());
  return text == checked_text(number) ? std::optional(number) : std::nullopt;
}

}  // namespace msg_consumer::test

#endif
