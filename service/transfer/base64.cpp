// SPDX-License-Identifier: Apache-2.0
#include "base64.hpp"

#include <glib.h>

#include <algorithm>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::service::transfer {
namespace {

constexpr std::size_t GROUP = 4;

bool is_digit(char c) { return g_ascii_isalnum(c) || c == '+' || c == '/'; }

// The decoder passes over what it does not know, so a damaged text must be found before.
bool is_base64(std::string_view text) {
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  text.remove_suffix(padding);
  return (text.size() + padding) % GROUP == 0 && std::all_of(text.begin(), text.end(), is_digit);
}

}  // namespace

std::string encode_base64(std::string_view bytes) {
  const Owned<char, g_free> text(g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size()));
  return text.get();
}

std::optional<std::string> decode_base64(std::string_view text) {
  if (!is_base64(text)) {
    return std::nullopt;
  }
  std::string bytes(text);
  if (bytes.empty()) {
    return bytes;
  }
  gsize size = 0;
  g_base64_decode_inplace(bytes.data(), &size);
  bytes.resize(size);
  return bytes;
}

}  // namespace msg_consumer::service::transfer
