// SPDX-License-Identifier: Apache-2.0
#include "msgctl/text.hpp"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace msgctl {
namespace {

constexpr std::string_view ellipsis = "…";
constexpr std::string_view first_strong_isolate = "\u2068";
constexpr std::string_view pop_isolate = "\u2069";

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

constexpr gunichar zero_width_joiner = 0x200d;
constexpr gunichar emoji_presentation = 0xfe0f;

std::size_t symbol_width(gunichar code) {
  if (g_unichar_iszerowidth(code)) return 0;
  return g_unichar_iswide(code) ? 2 : 1;
}

bool is_flag_half(gunichar code) { return code >= 0x1f1e6 && code <= 0x1f1ff; }
bool is_skin_tone(gunichar code) { return code >= 0x1f3fb && code <= 0x1f3ff; }

// What is seen as one character and may not be torn apart.
struct Cluster {
  std::size_t size = 0;
  std::size_t width = 0;
  std::size_t widest = 0;  // where its symbols are drawn one by one
};

// Puts clusters together as far as their width needs it: what combines, what is joined, and the halves of flags.
class ClusterReader {
 public:
  explicit ClusterReader(std::string_view text) : _text(text) {}

  [[nodiscard]] bool at_end() const { return _text.empty(); }

  Cluster next() {
    const Symbol first = take();
    Cluster cluster = {first.size, symbol_width(first.code), symbol_width(first.code)};
    bool joined = false;
    bool half_a_flag = first.valid && is_flag_half(first.code);
    while (!at_end()) {
      const Symbol symbol = first_symbol(_text);
      const bool second_half = half_a_flag && is_flag_half(symbol.code);
      const bool tone = is_skin_tone(symbol.code) && cluster.width == 2;
      if (!symbol.valid || !(joined || second_half || tone || extends(symbol.code))) break;
      take();
      cluster.size += symbol.size;
      cluster.widest += symbol_width(symbol.code);
      // What is joined or modified is drawn in the place of the first symbol.
      if (joined || second_half || tone || symbol.code == emoji_presentation) {
        cluster.width = std::max(cluster.width, std::size_t{2});
        cluster.widest = std::max(cluster.widest, cluster.width);
      } else {
        cluster.width += symbol_width(symbol.code);
      }
      // Letters of some scripts are joined by the same character, and keep their width.
      joined = symbol.code == zero_width_joiner && cluster.width == 2;
      half_a_flag = false;
    }
    return cluster;
  }

 private:
  Symbol take() {
    const Symbol symbol = first_symbol(_text);
    _text.remove_prefix(symbol.size);
    return symbol;
  }

  static bool extends(gunichar code) {
    return g_unichar_iszerowidth(code) != FALSE || g_unichar_type(code) == G_UNICODE_SPACING_MARK;
  }

  std::string_view _text;
};

bool is_written_from_right(gunichar code) {
  return (code >= 0x590 && code <= 0x8ff) || code == 0x200f || (code >= 0xfb1d && code <= 0xfdff) ||
         (code >= 0xfe70 && code <= 0xfefe) || (code >= 0x10800 && code <= 0x10fff) ||
         (code >= 0x1e800 && code <= 0x1efff);
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
  for (ClusterReader reader(text); !reader.at_end();) width += reader.next().width;
  return width;
}

std::size_t widest_width(std::string_view text) {
  std::size_t width = 0;
  for (ClusterReader reader(text); !reader.at_end();) width += reader.next().widest;
  return width;
}

std::string isolated(std::string_view text) {
  for (std::string_view rest = text; !rest.empty();) {
    const Symbol symbol = first_symbol(rest);
    if (symbol.valid && is_written_from_right(symbol.code)) {
      return std::string(first_strong_isolate).append(text).append(pop_isolate);
    }
    rest.remove_prefix(symbol.size);
  }
  return std::string(text);
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
  std::vector<std::string> lines(1);
  while (!text.empty()) {
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string word = fit(text.substr(0, blank), width);
    text.remove_prefix(std::min(blank + 1, text.size()));
    const std::size_t used = display_width(lines.back());
    if (used > 0 && used + 1 + display_width(word) > width) lines.emplace_back();
    if (!lines.back().empty()) lines.back() += ' ';
    lines.back() += word;
  }
  return lines;
}

std::string fit(std::string_view text, std::size_t width) {
  if (width == 0) return {};
  // `kept` ends where a cut leaves room for the mark.
  std::size_t used = 0, kept = 0, position = 0;
  for (ClusterReader reader(text); !reader.at_end();) {
    const Cluster cluster = reader.next();
    used += cluster.widest;
    if (used > width) return std::string(text.substr(0, kept)).append(ellipsis);
    position += cluster.size;
    if (used < width) kept = position;
  }
  return std::string(text);
}

bool is_sendable(std::string_view text) { return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE; }

}  // namespace msgctl
