// SPDX-License-Identifier: Apache-2.0
#include "msgctl/terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace msgctl {
namespace {

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::size_t width_of(int descriptor) {
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const std::string_view columns = environment("COLUMNS");
  std::size_t width = 0;
  const auto [end, error] = std::from_chars(columns.begin(), columns.end(), width);
  if (error == std::errc() && end == columns.end() && width > 0) return width;
  return Screen{}.width;
}

Colour& colour_choice() {
  static Colour choice = Colour::Auto;
  return choice;
}

bool shows_colour(bool terminal) {
  if (colour_choice() != Colour::Auto) return colour_choice() == Colour::Always;
  return terminal && environment("NO_COLOR").empty() && environment("TERM") != "dumb";
}

const char* sequence(Style style) {
  switch (style) {
    case Style::Bold:
      return "\033[1m";
    case Style::Dim:
      return "\033[2m";
    case Style::Red:
      return "\033[31m";
    case Style::Green:
      return "\033[32m";
    case Style::Yellow:
      return "\033[33m";
    case Style::Plain:
      break;
  }
  return "";
}

}  // namespace

void choose_colour(Colour when) { colour_choice() = when; }

Screen screen_of(int descriptor) {
  const bool terminal = isatty(descriptor) == 1;
  return {width_of(descriptor), shows_colour(terminal), terminal};
}

std::string styled(std::string_view text, Style style, const Screen& screen) {
  if (!screen.colour || style == Style::Plain || text.empty()) return std::string(text);
  return std::string(sequence(style)).append(text).append("\033[0m");
}

}  // namespace msgctl
