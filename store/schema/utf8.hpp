// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_UTF8_HPP
#define MSG_CONSUMER_STORE_SCHEMA_UTF8_HPP

#include <glib.h>

#include <string_view>

namespace msg_consumer::schema {

/// Calls `visit` with each character of a text that is UTF-8, and with the bytes it consists of.
template <typename Visit>
void for_each_character(std::string_view text, Visit visit) {
  for (std::size_t begin = 0; begin < text.size();) {
    const char* at = text.data() + begin;
    const auto length = static_cast<std::size_t>(g_utf8_next_char(at) - at);
    visit(g_utf8_get_char(at), text.substr(begin, length));
    begin += length;
  }
}

}  // namespace msg_consumer::schema

#endif
