// SPDX-License-Identifier: Apache-2.0
#include "msgctl/text.hpp"

#include <glib.h>

#include <array>
#include <cstdio>

namespace msgctl {
namespace {

constexpr std::string_view ellipsis = "…";

struct Symbol {
  gunichar code;
  std::size_t size;
  bool valid;
};

Symbol first_symbol(std::string_view text) {
  const gunichar code = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  if (code == static_cast<gunichar>(-1) || code == static_cast<gunichar>(-2)) {
    return {static_cast<unsigned char>(text.front()), 1, false};
  }
  return {code, static_cast<std::size_t>(g_unichar_to_utf8(code, nullptr)), true};
}

bool acts_on_terminal(gunichar code) {
  const bool control = code < 0x20 || (code >= 0x7f && code <= 0x9f);
  const bool line_separator = code == 0x2028 || code == 0x2029;
  const bool direction = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
  return control || line_separator || direction;
}

std::string escaped(gunichar code) {
  switch (code) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  std::array<char, 16> buffer{};
  static_cast<void>(std::snprintf(buffer.data(), buffer.size(), code < 0x100 ? "\\x%02x" : "\\u%04x", code));
  return buffer.data();
}

std::size_t symbol_width(gunichar code) {
  if (g_unichar_iszerowidth(code)) return 0;
  return g_unichar_iswide(code) ? 2 : 1;
}

}  // namespace

std::string printable(std::string_view text, Newlines newlines) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Symbol symbol = first_symbol(text);
    const bool kept_newline = symbol.code == '\n' && newlines == Newlines::Keep;
    if (symbol.valid && (kept_newline || !acts_on_terminal(symbol.code))) {
      result += text.substr(0, symbol.size);
    } else {
      result += escaped(symbol.code);
    }
    text.remove_prefix(symbol.size);
  }
  return result;
}

std::size_t display_width(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Symbol symbol = first_symbol(text);
    width += symbol_width(symbol.code);
    text.remove_prefix(symbol.size);
  }
  return width;
}

std::string fit(std::string_view text, std::size_t width) {
  if (width == 0) return {};
  // `kept` ends where a cut leaves room for the mark. Combining characters take no room, so they stay with their base.
  std::size_t used = 0, kept = 0, position = 0;
  while (position < text.size()) {
    const Symbol symbol = first_symbol(text.substr(position));
    used += symbol_width(symbol.code);
    if (used > width) return std::string(text.substr(0, kept)).append(ellipsis);
    position += symbol.size;
    if (used < width) kept = position;
  }
  return std::string(text);
}

bool is_sendable(std::string_view text) { return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE; }

}  // namespace msgctl
