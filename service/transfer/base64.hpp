// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_BASE64_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_BASE64_HPP

#include <optional>
#include <string>
#include <string_view>

namespace msg_consumer::service::transfer {

std::string encode_base64(std::string_view bytes);

/// Nothing for a text that `encode_base64` does not make: with other characters, or of another length.
std::optional<std::string> decode_base64(std::string_view text);

}  // namespace msg_consumer::service::transfer

#endif
