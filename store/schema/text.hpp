// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_TEXT_HPP
#define MSG_CONSUMER_STORE_SCHEMA_TEXT_HPP

// The one rule by which texts are compared in a search.

#include <optional>
#include <string>
#include <string_view>

#include <msg-consumer-common/Message.h>

namespace msg_consumer::schema {

/// Folds a text for searching: composed (NFC), then case-folded. Two texts match when one's folded form contains the
/// other's. Nothing for text that is not UTF-8, and for text that holds a NUL.
std::optional<std::string> fold(std::string_view text);

/// Everything a keyword may be found in: body, subject, sender and every address, folded, each on its own so that no
/// keyword matches across two of them.
std::optional<std::string> searchable_text(const Message& message);

/// How many characters (code points) a UTF-8 text has.
std::size_t length_in_characters(std::string_view text);

bool is_utf8(std::string_view text);

}  // namespace msg_consumer::schema

#endif
