// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_PLATFORM_SENTENCES_HPP
#define MSG_CONSUMER_CONFORMANCE_PLATFORM_SENTENCES_HPP

#include "frame/sentence.hpp"

namespace msg_consumer::conformance {

// The states that the preferences are put into.
inline constexpr const char* DEFAULTS = "defaults";      ///< nothing is stored
inline constexpr const char* STORED = "stored";          ///< every key has another value than its default
inline constexpr const char* WRONG_VALUES = "wrong";     ///< texts where numbers and booleans belong
inline constexpr const char* TOO_LARGE = "too large";    ///< numbers of more than 32 bits
inline constexpr const char* UNREADABLE = "unreadable";  ///< the preferences cannot be read at all

/// A state's data as a filler gets it. Throws for an unknown name.
Json platform_fixture(const std::string& state);

Sentences log_sentences();
Sentences preference_sentences();
Sentences app_control_sentences();

}  // namespace msg_consumer::conformance

#endif
