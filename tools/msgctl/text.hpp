// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_TEXT_HPP
#define MSGCTL_TEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace msgctl {

enum class Newlines { Escape, Keep };

/// `text` with everything escaped that would act on a terminal instead of being seen: control characters, characters
/// that reverse the direction of writing, line separators, and bytes that are not UTF-8.
std::string printable(std::string_view text, Newlines newlines = Newlines::Escape);

/// How many columns of a terminal `text`, which is printable, takes.
std::size_t display_width(std::string_view text);

/// How many it takes at most: terminals disagree on joined symbols, variation selectors, skin tones and flags, which
/// some draw one by one.
std::size_t widest_width(std::string_view text);

/// `text`, which is printable, so marked that a writing direction in it does not reach what stands around it. A text
/// that is written from left to right alone is left as it is.
std::string isolated(std::string_view text);

/// The lines that `text` makes when it is broken between words to at most `width` columns; a longer word is cut.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// `text` cut to at most `width` columns on any terminal; a cut is marked by "…".
std::string fit(std::string_view text, std::size_t width);

/// Whether `text` is UTF-8 without NUL, and so can be sent.
bool is_sendable(std::string_view text);

}  // namespace msgctl

#endif
