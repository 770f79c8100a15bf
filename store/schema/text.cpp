// SPDX-License-Identifier: Apache-2.0
#include "schema/text.hpp"

#include <glib.h>

#include <algorithm>
#include <string>
#include <unordered_set>

#include <msg-consumer-platform/releaser.hpp>

#include "schema/utf8.hpp"

namespace msg_consumer::schema {
namespace {

using Utf8 = Owned<char, g_free>;

// Stands between two texts. No folded text contains it, so a keyword can't either.
constexpr char SEPARATOR = '\x1f';
constexpr gunichar SEPARATOR_CHARACTER = SEPARATOR;

constexpr std::string_view REPLACEMENT = "\uFFFD";

bool is_plain(char c) { return c > 0 && c != SEPARATOR; }

char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// SQLite's tokenizer reads U+FFFE and U+FFFF as U+FFFD: folded alike, the index and a plain scan agree.
bool is_replaced(gunichar character) {
  return character == SEPARATOR_CHARACTER || character == 0xFFFE || character == 0xFFFF;
}

std::string replace_reserved(std::string_view text) {
  std::string result;
  for_each_character(text, [&result](gunichar character, std::string_view bytes) {
    result += is_replaced(character) ? REPLACEMENT : bytes;
  });
  return result;
}

}  // namespace

bool is_utf8(std::string_view text) {
  return text.empty() || g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

std::optional<std::string> fold(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), is_plain)) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), ascii_lower);
    return result;
  }
  if (!is_utf8(text)) return std::nullopt;
  const Utf8 composed(g_utf8_normalize(text.data(), static_cast<gssize>(text.size()), G_NORMALIZE_NFC));
  const Utf8 folded(composed ? g_utf8_casefold(composed.get(), -1) : nullptr);
  if (!folded) return std::nullopt;
  return replace_reserved(folded.get());
}

std::optional<std::string> searchable_text(const Message& message) {
  std::string result;
  std::unordered_set<std::string> seen;
  const auto append = [&result, &seen](std::string_view text) {
    const auto folded = fold(text);
    if (!folded) return false;
    // What is there already, as a sender among the addresses is, would be found by the same keywords.
    if (!folded->empty() && seen.insert(*folded).second) result.append(*folded).push_back(SEPARATOR);
    return true;
  };
  const bool complete = append(message.str_d) && append(message.str_o) && append(message.str_p) &&
                        std::all_of(message.addresses.begin(), message.addresses.end(),
                                    [&append](const Address& address) { return append(address.address); });
  if (!complete) return std::nullopt;
  return result;
}

std::size_t length_in_characters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

}  // namespace msg_consumer::schema
