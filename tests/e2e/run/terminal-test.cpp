// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "run-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

/// An interactive shell on a terminal of its own.
class TerminalShell {
 public:
  explicit TerminalShell(const std::string& mark) {
    // Wide enough for the shell to leave its lines whole.
    winsize size{.ws_row = 50, .ws_col = 500, .ws_xpixel = 0, .ws_ypixel = 0};
    _shell = forkpty(&_terminal, nullptr, nullptr, &size);
    if (_shell == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      setenv("PS1", "prompt> ", 1);
      setenv("TERM", "dumb", 1);
      // The shell is none of the processes to be looked for.
      unsetenv("RUN_TEST_MARK");
      setenv("RUN", ("env RUN_TEST_MARK=" + mark + " " RUN_PATH).c_str(), 1);
      execlp("bash", "bash", "--norc", "--noprofile", "--noediting", "-i", nullptr);
      _exit(127);
    }
    fcntl(_terminal, F_SETFL, O_NONBLOCK);
    EXPECT_TRUE(shows("prompt> "));
  }
  TerminalShell(const TerminalShell&) = delete;
  TerminalShell& operator=(const TerminalShell&) = delete;
  ~TerminalShell() {
    close(_terminal);
    kill(_shell, SIGKILL);
    waitpid(_shell, nullptr, 0);
  }

  void type(const std::string& text) { EXPECT_EQ(write(_terminal, text.data(), text.size()), ssize_t(text.size())); }

  /// Waits until the terminal shows the text, behind what was waited for before.
  testing::AssertionResult shows(const std::string& text) {
    const auto there = [&] {
      read_all();
      return _shown.find(text, _seen) != std::string::npos;
    };
    if (!wait_until(there)) return testing::AssertionFailure() << "the terminal shows:\n" << _shown;
    _seen = _shown.find(text, _seen) + text.size();
    return testing::AssertionSuccess();
  }

  void hang_up() {
    close(_terminal);
    _terminal = -1;
  }

 private:
  void read_all() {
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(_terminal, buffer.data(), buffer.size())) > 0;) {
      _shown.append(buffer.data(), static_cast<std::size_t>(size));
    }
  }

  int _terminal = -1;
  pid_t _shell = -1;
  std::string _shown;
  std::size_t _seen = 0;
};

// Words that a command is to say are typed in pieces, so that their echo is not taken for what it says.
class OnATerminal : public Run {
 protected:
  void expect_status(const std::string& status) {
    EXPECT_TRUE(_terminal.shows("prompt> "));
    _terminal.type("echo st\"\"atus $?.\n");
    EXPECT_TRUE(_terminal.shows("status " + status + "."));
    EXPECT_TRUE(nothing_is_left());
  }

  TerminalShell _terminal{_temporary.path()};
};

TEST_F(OnATerminal, CtrlCEndsTheCommandAndAllWithIt) {
  _terminal.type("$RUN -- sh -c 'echo re\"\"ady; sleep 1000'\n");
  ASSERT_TRUE(_terminal.shows("ready"));
  _terminal.type("\x03");
  expect_status("130");
}

TEST_F(OnATerminal, CtrlCReachesTheCommandOnce) {
  write_file(_folder.file("counts"),
             "import os, signal\n"
             "end, wake = os.pipe()\n"
             "os.set_blocking(wake, False)\n"
             "for number in (signal.SIGINT, signal.SIGUSR1): signal.signal(number, lambda *_: None)\n"
             "signal.set_wakeup_fd(wake)\n"
             "print('ready', flush=True)\n"
             "seen = os.read(end, 1)\n"
             "print('interrupted', flush=True)\n"
             "while signal.SIGUSR1 not in seen: seen += os.read(end, 1)\n"
             "print('times:', seen.count(signal.SIGINT), flush=True)\n");
  _terminal.type("$RUN -- python3 " + _folder.file("counts") + "\n");
  ASSERT_TRUE(_terminal.shows("ready"));
  _terminal.type("\x03");
  ASSERT_TRUE(_terminal.shows("interrupted"));
  // Handed on in their order: a second SIGINT would be there before it.
  ASSERT_EQ(kill(find("msg-consumer-ru"), SIGUSR1), 0);
  EXPECT_TRUE(_terminal.shows("times: 1"));
  expect_status("0");
}

TEST_F(OnATerminal, CtrlZStopsTheJobAndItGoesOn) {
  _terminal.type("$RUN -- sh -c 'echo re\"\"ady; cat'\n");
  ASSERT_TRUE(_terminal.shows("ready"));
  _terminal.type("\x1a");
  ASSERT_TRUE(_terminal.shows("Stopped"));
  ASSERT_TRUE(_terminal.shows("prompt> "));
  _terminal.type("fg\n");
  ASSERT_TRUE(_terminal.shows("cat"));
  _terminal.type("read by it\n");
  ASSERT_TRUE(_terminal.shows("read by it"));
  ASSERT_TRUE(_terminal.shows("read by it"));
  _terminal.type("\x04");
  expect_status("0");
}

TEST_F(OnATerminal, AJobInTheBackgroundIsBroughtToTheFront) {
  _terminal.type("$RUN -- cat &\n");
  ASSERT_TRUE(_terminal.shows("prompt> "));
  ASSERT_GT(find("cat"), 0);
  _terminal.type("fg\n");
  ASSERT_TRUE(_terminal.shows("cat"));
  _terminal.type("read by it\n");
  ASSERT_TRUE(_terminal.shows("read by it"));
  ASSERT_TRUE(_terminal.shows("read by it"));
  _terminal.type("\x04");
  expect_status("0");
}

constexpr const char* inner_shell = "PS1='inner> ' $RUN -- bash --norc --noprofile --noediting -i";

TEST_F(OnATerminal, AnInteractiveShellMayBeTheCommand) {
  _terminal.type(std::string(inner_shell) + "\n");
  ASSERT_TRUE(_terminal.shows("inner> "));
  _terminal.type("sleep 1000\n");
  ASSERT_GT(find("sleep"), 0);
  _terminal.type("\x03");
  ASSERT_TRUE(_terminal.shows("inner> "));
  _terminal.type("sleep 1000 &\n");
  ASSERT_TRUE(_terminal.shows("inner> "));
  _terminal.type("$MSGCTL send --to +1 hello\n");
  ASSERT_TRUE(_terminal.shows("sent as message 1"));
  _terminal.type("exit 5\n");
  expect_status("5");
}

TEST_F(OnATerminal, AScriptGetsTheTerminalBackFromAShellThatWasKilled) {
  _terminal.type(std::string("sh -c \"") + inner_shell + "; echo sta\"\"tus \\$?; cat\"\n");
  ASSERT_TRUE(_terminal.shows("inner> "));
  _terminal.type("kill -KILL $$\n");
  ASSERT_TRUE(_terminal.shows("status 137"));
  _terminal.type("read again\n");
  ASSERT_TRUE(_terminal.shows("read again"));
  EXPECT_TRUE(_terminal.shows("read again"));
  _terminal.type("\x04");
  expect_status("0");
}

TEST_F(OnATerminal, TheTerminalsEndIsTheEndOfAll) {
  _terminal.type("$RUN -- sh -c 'setsid sleep 1000 & echo re\"\"ady; sleep 1000'\n");
  ASSERT_TRUE(_terminal.shows("ready"));
  _terminal.hang_up();
  EXPECT_TRUE(nothing_is_left());
}

}  // namespace
}  // namespace msg_consumer::test
