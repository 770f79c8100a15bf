// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_RECORD_WORDS_HPP
#define MSGCTL_RECORD_WORDS_HPP

// Words for the numbers of the public records, and the forms in which their texts and times are shown.

#include <cstdint>
#include <string>

namespace msgctl {

std::string message_type(int value);
std::string direction(int value);
std::string delivery(int value);
std::string delivery_report(int value);
std::string retrieval(int value);
std::string address_kind(int value);
std::string address_role(int value);
std::string content_kind(int value);
std::string transfer(int value);
std::string sync_state(int value);
std::string download_state(int value);

/// "2026-03-01 09:30" in local time.
std::string local_time(int seconds);

/// The time of day now, "09:30:15", in local time.
std::string clock_time();

/// "2026-03-01T08:30:00Z".
std::string utc_time(std::int64_t seconds);

/// An empty text for NULL.
inline const char* text_of(const char* text) { return text != nullptr ? text : ""; }

}  // namespace msgctl

#endif
