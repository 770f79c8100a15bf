// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_TERMINAL_HPP
#define MSGCTL_TERMINAL_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace msgctl {

enum class Style { Plain, Bold, Dim, Red, Green, Yellow };

/// What is known of the place where output appears.
struct Screen {
  std::size_t width = 80;
  bool colour = false;
  bool terminal = false;
};

enum class Colour { Auto, Always, Never };

/// Sets for the whole process when there is to be colour.
void choose_colour(Colour when);

/// The screen behind a file descriptor. What is no terminal has the width that COLUMNS tells, or 80, and no colour
/// unless it is always wanted; a terminal has none either when NO_COLOR is set.
Screen screen_of(int descriptor);

/// `text` in a style, where the screen shows any.
std::string styled(std::string_view text, Style style, const Screen& screen);

}  // namespace msgctl

#endif
