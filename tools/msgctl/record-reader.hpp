// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_RECORD_READER_HPP
#define MSGCTL_RECORD_READER_HPP

#include <string>

#include "msgctl/api.hpp"

namespace msgctl {

// Records from the JSON that json_of() makes of them, alone or in the document around it. A member that is missing
// has its first word, 0, false or an empty text, and a missing time of a message is now. What is not understood is a
// Failure that names the member.

MessageItem read_message(const std::string& json);
Metadata read_metadata(const std::string& json);

}  // namespace msgctl

#endif
