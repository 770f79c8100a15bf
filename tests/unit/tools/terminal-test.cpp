// SPDX-License-Identifier: Apache-2.0
#include "msgctl/terminal.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "support/environment.hpp"

namespace msgctl {
namespace {

using msg_consumer::test::EnvironmentVariable;

class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  ~Descriptor() { close(_number); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int get() const { return _number; }

 private:
  int _number;
};

// A terminal of a given width.
class Terminal {
 public:
  explicit Terminal(unsigned short width) {
    const winsize size = {.ws_row = 24, .ws_col = width, .ws_xpixel = 0, .ws_ypixel = 0};
    ioctl(_screen.get(), TIOCSWINSZ, &size);
  }
  [[nodiscard]] int screen() const { return _screen.get(); }

 private:
  static int open_screen(int controller) {
    if (grantpt(controller) != 0 || unlockpt(controller) != 0) return -1;
    return open(ptsname(controller), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }

  Descriptor _controller{posix_openpt(O_RDWR | O_NOCTTY)};
  Descriptor _screen{open_screen(_controller.get())};
};

class ScreenOf : public testing::Test {
 protected:
  EnvironmentVariable _columns{"COLUMNS", std::nullopt};
  EnvironmentVariable _no_colour{"NO_COLOR", std::nullopt};
  EnvironmentVariable _term{"TERM", "xterm"};
  Descriptor _null{open("/dev/null", O_WRONLY)};
};

TEST_F(ScreenOf, ATerminalHasItsWidthAndColour) {
  const Terminal terminal(123);
  const Screen screen = screen_of(terminal.screen());
  EXPECT_EQ(screen.width, 123U);
  EXPECT_TRUE(screen.colour);
}

TEST_F(ScreenOf, NoColorIsObeyed) {
  const Terminal terminal(80);
  const EnvironmentVariable no_color("NO_COLOR", "1");
  EXPECT_FALSE(screen_of(terminal.screen()).colour);
}

TEST_F(ScreenOf, TheChoiceOfColourStandsAboveBoth) {
  const Terminal terminal(80);
  const EnvironmentVariable no_color("NO_COLOR", "1");
  choose_colour(Colour::Always);
  EXPECT_TRUE(screen_of(terminal.screen()).colour);
  EXPECT_TRUE(screen_of(_null.get()).colour);
  EXPECT_FALSE(screen_of(_null.get()).terminal);
  const EnvironmentVariable unset("NO_COLOR", std::nullopt);
  choose_colour(Colour::Never);
  EXPECT_FALSE(screen_of(terminal.screen()).colour);
  choose_colour(Colour::Auto);
}

TEST_F(ScreenOf, ADumbTerminalHasNoColour) {
  const Terminal terminal(80);
  const EnvironmentVariable term("TERM", "dumb");
  EXPECT_FALSE(screen_of(terminal.screen()).colour);
}

TEST_F(ScreenOf, WhatIsNoTerminalHasEightyColumnsAndNoColour) {
  const Screen screen = screen_of(_null.get());
  EXPECT_EQ(screen.width, 80U);
  EXPECT_FALSE(screen.colour);
}

TEST_F(ScreenOf, ColumnsTellsTheWidthWhereThereIsNoTerminal) {
  const EnvironmentVariable columns("COLUMNS", "140");
  EXPECT_EQ(screen_of(_null.get()).width, 140U);
}

class StrangeColumns : public ScreenOf, public testing::WithParamInterface<const char*> {};

TEST_P(StrangeColumns, AreIgnored) {
  const EnvironmentVariable columns("COLUMNS", GetParam());
  EXPECT_EQ(screen_of(_null.get()).width, 80U);
}

INSTANTIATE_TEST_SUITE_P(Values, StrangeColumns, testing::Values("", "0", "-5", "wide", "100x"));

}  // namespace
}  // namespace msgctl
