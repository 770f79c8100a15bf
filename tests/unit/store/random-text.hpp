// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_RANDOM_TEXT_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_RANDOM_TEXT_HPP

#include <array>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace msg_consumer::test {

/// Small alphabets, so that keywords have hits: each holds characters of one script, and what a search could trip on.
inline const std::vector<std::vector<std::string_view>>& alphabets() {
  static const std::vector<std::vector<std::string_view>> result = {
      {"a", "B", "c", " "},
      {"e\u0301", "\u00E9", "\u00C9", "e", "\u00DF", "ss", "SS"},
      {"\u03C3", "\u03C2", "\u03A3", "\u03B1", "\u0391", "\u03CC", "\u03BF\u0301"},
      {"\u043F", "\u041F", "\u0439", "\u0438\u0306", "\u0419"},
      {"\u0645", "\u0631", "\u062D", "\u0628", "\u0627", "\u0622", "\u0627\u0653"},
      {"\u0928", "\u092E", "\u0938", "\u094D", "\u0924", "\u0947"},
      {"\u4F60", "\u597D", "\u4EEC", "\u3002"},
      {"\U0001F44D", "\U0001F44E", "\u200D", "\uFE0F"},
      {"%", "_", "'", "\"", "\\", "*", "-", "a", "A"},
      {"\uFFFD", "\uFFFE", "\uFFFF", "\x1f", "a", "\n"},
  };
  return result;
}

inline std::string random_text(std::mt19937& random, int max_length) {
  const auto below = [&random](std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
  };
  const auto& alphabet = alphabets().at(below(alphabets().size()));
  std::string text;
  for (auto left = 1 + below(static_cast<std::size_t>(max_length)); left > 0; --left) {
    text += alphabet.at(below(alphabet.size()));
  }
  return text;
}

}  // namespace msg_consumer::test

#endif
