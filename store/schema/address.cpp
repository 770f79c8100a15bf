// SPDX-License-Identifier: Apache-2.0
#include "schema/address.hpp"

#include <glib.h>

#include <algorithm>

#include <msg-consumer-platform/releaser.hpp>

#include "schema/text.hpp"
#include "schema/utf8.hpp"

namespace msg_consumer::schema {
namespace {

bool is_blank(gunichar c) {
  // g_unichar_isspace leaves out the vertical tab and the next-line control.
  return g_unichar_isspace(c) != FALSE || c == 0x0B || c == 0x85;
}

bool is_dash(gunichar c) { return c == '-' || (c >= 0x2010 && c <= 0x2015) || c == 0x2212; }

bool is_bracket(gunichar c) { return std::string_view("()[]{}").find(static_cast<char>(c)) != std::string_view::npos; }

bool is_decoration(gunichar c) { return is_blank(c) || is_dash(c) || c == '.' || (c < 0x80 && is_bracket(c)); }

const char* end_of(std::string_view text) { return text.data() + text.size(); }

// The functions below take UTF-8.

std::string_view strip(std::string_view text) {
  while (!text.empty() && is_blank(g_utf8_get_char(text.data()))) {
    text.remove_prefix(static_cast<std::size_t>(g_utf8_next_char(text.data()) - text.data()));
  }
  while (!text.empty()) {
    const char* last = g_utf8_prev_char(end_of(text));
    if (!is_blank(g_utf8_get_char(last))) break;
    text.remove_suffix(static_cast<std::size_t>(end_of(text) - last));
  }
  return text;
}

std::string fold_case(std::string_view text) {
  const Owned<char, g_free> folded(g_utf8_casefold(text.data(), static_cast<gssize>(text.size())));
  return folded.get();
}

std::string without_decoration(std::string_view text) {
  std::string result;
  for_each_character(text, [&result](gunichar character, std::string_view bytes) {
    if (!is_decoration(character)) result += bytes;
  });
  return result;
}

}  // namespace

AddressKind address_kind(std::string_view address) {
  return address.find('@') != std::string_view::npos ? ADDRESS_EMAIL : ADDRESS_PHONE;
}

std::string normalise_address(std::string_view address) {
  if (address.empty() || !is_utf8(address)) return {};
  return address_kind(address) == ADDRESS_EMAIL ? fold_case(strip(address)) : without_decoration(address);
}

std::optional<std::string> address_key(const std::vector<std::string>& addresses) {
  if (addresses.empty()) return std::nullopt;
  std::vector<std::string> normalised(addresses.size());
  std::transform(addresses.begin(), addresses.end(), normalised.begin(), normalise_address);
  std::sort(normalised.begin(), normalised.end());
  normalised.erase(std::unique(normalised.begin(), normalised.end()), normalised.end());
  if (normalised.front().empty()) return std::nullopt;

  // Each text behind its length, so that no two sets of texts make the same key.
  std::string key;
  for (const auto& text : normalised) key.append(std::to_string(text.size())).append(":").append(text);
  return key;
}

std::optional<std::vector<std::string>> split_recipients(std::string_view recipients) {
  if (!is_utf8(recipients)) return std::nullopt;
  std::vector<std::string> result;
  for (std::size_t begin = 0; begin <= recipients.size();) {
    const std::size_t end = std::min(recipients.find(';', begin), recipients.size());
    const std::string_view recipient = strip(recipients.substr(begin, end - begin));
    if (normalise_address(recipient).empty()) return std::nullopt;
    result.emplace_back(recipient);
    begin = end + 1;
  }
  return result;
}

}  // namespace msg_consumer::schema
