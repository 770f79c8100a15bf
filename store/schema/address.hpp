// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_ADDRESS_HPP
#define MSG_CONSUMER_STORE_SCHEMA_ADDRESS_HPP

// The one rule by which addresses are compared and threads are told apart.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace msg_consumer::schema {

enum AddressKind { ADDRESS_PHONE = 1, ADDRESS_EMAIL = 2, ADDRESS_CHAT_USER = 3 };

/// Told from the text alone: an '@' makes it an e-mail address.
AddressKind address_kind(std::string_view address);

/// A phone number without blanks, dashes, dots and brackets, an e-mail address with its case folded. Empty when
/// nothing is left, or when the text is not UTF-8.
std::string normalise_address(std::string_view address);

/// The key under which a thread with exactly these participants is found, whatever their order and repetition.
/// Nothing when there is no address, or one is empty after normalising.
std::optional<std::string> address_key(const std::vector<std::string>& addresses);

/// Splits recipients at ';' and drops the blanks around each. Nothing when one is empty after normalising.
std::optional<std::vector<std::string>> split_recipients(std::string_view recipients);

}  // namespace msg_consumer::schema

#endif
