// SPDX-License-Identifier: Apache-2.0
#include "msgctl/backup/surrogate-filter.hpp"

#include <charconv>

namespace msgctl {
namespace {

// Longer than any reference to a character; what is longer is left to the parser.
constexpr std::size_t longest_reference = 16;
constexpr std::string_view document_type = "<!DOCTYPE";
constexpr std::string_view replacement = "&#xFFFD;";
constexpr std::uint32_t greatest_character = 0x10FFFF;

bool is_high(std::uint32_t code) { return code >= 0xD800 && code <= 0xDBFF; }
bool is_low(std::uint32_t code) { return code >= 0xDC00 && code <= 0xDFFF; }

// What XML 1.0 allows as a character.
bool is_character(std::uint32_t code) {
  return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
         (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= greatest_character);
}

std::string reference_to(std::uint32_t code) { return "&#" + std::to_string(code) + ";"; }

// The code of "&#123;" or "&#x7b;"; none for another reference.
std::optional<std::uint32_t> code_of(std::string_view reference) {
  if (!reference.starts_with("&#")) return std::nullopt;
  const bool hexadecimal = reference.size() > 2 && reference[2] == 'x';
  const std::string_view digits = reference.substr(hexadecimal ? 3 : 2, reference.size() - (hexadecimal ? 4 : 3));
  std::uint32_t code = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, hexadecimal ? 16 : 10);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return code;
}

}  // namespace

std::string SurrogateFilter::take(std::string_view piece) {
  std::string out;
  out.reserve(piece.size() + longest_reference);
  for (const char byte : piece) take_byte(out, byte);
  return out;
}

std::string SurrogateFilter::finish() {
  std::string out;
  flush_high(out);
  out += _reference;
  _reference.clear();
  return out;
}

void SurrogateFilter::take_byte(std::string& out, char byte) {
  watch_for_document_type(byte);
  if (_reference.empty() && byte != '&') {
    flush_high(out);
    out += byte;
    return;
  }
  if (byte == '&' && !_reference.empty()) {
    // Not a reference after all: the parser will complain.
    flush_high(out);
    out += _reference;
    _reference.clear();
  }
  _reference += byte;
  if (byte == ';') {
    end_reference(out);
  } else if (_reference.size() >= longest_reference || byte == '<') {
    flush_high(out);
    out += _reference;
    _reference.clear();
  }
}

void SurrogateFilter::end_reference(std::string& out) {
  const std::optional<std::uint32_t> code = code_of(_reference);
  if (code && _high && is_low(*code)) {
    out += reference_to(0x10000 + ((*_high - 0xD800) << 10U) + (*code - 0xDC00));
    _high.reset();
  } else {
    flush_high(out);
    if (code && is_high(*code)) {
      _high = code;
    } else if (code && !is_character(*code)) {
      out += replacement;
    } else {
      out += _reference;
    }
  }
  _reference.clear();
}

void SurrogateFilter::flush_high(std::string& out) {
  if (_high) out += replacement;
  _high.reset();
}

void SurrogateFilter::watch_for_document_type(char byte) {
  if (byte == document_type[_matched]) {
    ++_matched;
  } else {
    _matched = byte == document_type.front() ? 1 : 0;
  }
  if (_matched == document_type.size()) {
    _saw_document_type = true;
    _matched = 0;
  }
}

}  // namespace msgctl
