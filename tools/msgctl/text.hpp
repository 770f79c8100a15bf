// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_TEXT_HPP
#define MSGCTL_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace msgctl {

enum class Newlines { Escape, Keep };

/// `text` with everything escaped that would act on a terminal instead of being seen: control characters, characters
/// that reverse the direction of writing, line separators, and bytes that are not UTF-8.
std::string printable(std::string_view text, Newlines newlines = Newlines::Escape);

/// How many columns of a terminal `text`, which is printable, takes.
std::size_t display_width(std::string_view text);

/// `text` cut to at most `width` columns; a cut is marked by "…".
std::string fit(std::string_view text, std::size_t width);

/// Whether `text` is UTF-8 without NUL, and so can be sent.
bool is_sendable(std::string_view text);

}  // namespace msgctl

#endif
