// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_ATTACHMENTS_HPP
#define MSG_CONSUMER_SERVICE_ATTACHMENTS_HPP

#include <msg-consumer-common/Message.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "content-files.hpp"
#include "messages.hpp"

namespace msg_consumer::service {

/// How many files a message may have.
inline constexpr std::size_t MAX_FILES = 100;

/// Splits paths at ';'. Refused: one that is empty or not absolute, for the service's working folder is not the
/// caller's, and more than a message may have.
std::vector<std::string> split_paths(std::string_view paths);

/// Adds a part of this size, which is on the device.
Content& append_part(Message& message, std::string_view mime_type, std::int64_t size);

/// Makes the message's text its body part; an empty text makes none.
void append_text_part(Message& message);

/// Makes each file a part.
void append_file_parts(Message& message, const IncomingFiles& files);

/// The files that the store names for a message.
std::optional<MessageFiles> files_of_message(Messages& messages, int message_id);

/// The first part that has a file. Throws the refusal when there is none.
const Content& first_attachment(const Message& message);

}  // namespace msg_consumer::service

#endif
