// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/log.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory_resource>
#include <msg-consumer-platform/logging.hpp>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/process.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

constexpr const char* tag = "MSG_CONSUMER";
constexpr CallSite site{"File.cpp", "function", 12};

// The threshold is read once in a process's life, so each case has a process of its own.
Process logging_at(const char* level, const std::function<int()>& body) {
  return Process([level, &body] {
    level == nullptr ? unsetenv("MSG_CONSUMER_LOG_LEVEL") : setenv("MSG_CONSUMER_LOG_LEVEL", level, 1);
    return body();
  });
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

// What stands behind "E/MSG_CONSUMER(pid): " when `text` is logged.
std::string shown(const std::string& text) {
  Process process = logging_at("3", [&text] { return __dlog_print(0, 6, tag, "%s", text.c_str()); });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  const std::string line = process.standard_error();
  const std::string prefix = "E/MSG_CONSUMER(" + std::to_string(process.pid()) + "): ";
  EXPECT_TRUE(line.starts_with(prefix) && line.ends_with("\n")) << line;
  return line.size() > prefix.size() ? line.substr(prefix.size(), line.size() - prefix.size() - 1) : "";
}

TEST(Log, ALineNamesPriorityTagAndProcessAndHasNoColourInAFile) {
  Process process = logging_at("3", [] {
    LOG_ERROR(site, "[ERROR] %s failed: (%d)", "it", -4);
    LOG_WARNING(site, "msgId:(%d)", 7);
    LOG_INFO(site, "No records");
    return __dlog_print(0, 3, "OTHER", "details");
  });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  const std::string pid = std::to_string(process.pid());
  EXPECT_EQ(process.standard_error(),
            "E/MSG_CONSUMER(" + pid + "): File.cpp: function(12) > [ERROR] it failed: (-4)\n" + "W/MSG_CONSUMER(" +
                pid + "): File.cpp: function(12) > msgId:(7)\n" + "I/MSG_CONSUMER(" + pid +
                "): File.cpp: function(12) > No records\n" + "D/OTHER(" + pid + "): details\n");
}

struct Threshold {
  const char* name;
  const char* level;
  const char* written;
};

void PrintTo(const Threshold& row, std::ostream* out) { *out << row.name; }

class Thresholds : public testing::TestWithParam<Threshold> {};

TEST_P(Thresholds, DropTheLinesBelow) {
  Process process = logging_at(GetParam().level, [] {
    for (const int priority : {3, 4, 5, 6}) {
      if (__dlog_print(0, priority, tag, "line") != LOG_PRINT_OK) {
        return 1;
      }
    }
    return 0;
  });
  EXPECT_EQ(process.wait(), 0);
  std::string letters;
  for (const std::string& line : lines_of(process.standard_error())) {
    letters.push_back(line.front());
  }
  EXPECT_EQ(letters, GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(, Thresholds,
                         testing::Values(Threshold{"NotSet", nullptr, "E"}, Threshold{"Debug", "3", "DIWE"},
                                         Threshold{"Info", "4", "IWE"}, Threshold{"Warning", "5", "WE"},
                                         Threshold{"Error", "6", "E"}, Threshold{"None", "7", ""},
                                         Threshold{"Empty", "", "E"}, Threshold{"TooLow", "2", "E"},
                                         Threshold{"TooHigh", "8", "E"}, Threshold{"Negative", "-3", "E"},
                                         Threshold{"AWord", "debug", "E"}, Threshold{"TrailingText", "3x", "E"},
                                         Threshold{"Huge", "99999999999999999999", "E"}),
                         [](const testing::TestParamInfo<Threshold>& row) { return row.param.name; });

TEST(Log, TheThresholdIsReadOnce) {
  Process process = logging_at("7", [] {
    __dlog_print(0, 6, tag, "first");
    setenv("MSG_CONSUMER_LOG_LEVEL", "3", 1);
    return __dlog_print(0, 6, tag, "second");
  });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  EXPECT_EQ(process.standard_error(), "");
}

TEST(Log, ALineBelowTheThresholdIsNotFormatted) {
  Process process = logging_at("6", [] {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address that nobody can read
    return __dlog_print(0, 5, tag, "%s", reinterpret_cast<const char*>(1));
  });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
}

struct Escape {
  const char* name;
  const char* text;
  const char* shown;
};

void PrintTo(const Escape& row, std::ostream* out) { *out << row.name; }

class Escapes : public testing::TestWithParam<Escape> {};

TEST_P(Escapes, AreShown) { EXPECT_EQ(shown(GetParam().text), GetParam().shown); }

INSTANTIATE_TEST_SUITE_P(, Escapes,
                         testing::Values(Escape{"PlainText", "all is well", "all is well"}, Escape{"NoText", "", ""},
                                         Escape{"Newline", "one\nE/FORGED(1): two", "one\\nE/FORGED(1): two"},
                                         Escape{"CarriageReturnAndTab", "a\rb\tc", "a\\rb\\tc"},
                                         Escape{"EscapeSequence", "\033[2Jgone", "\\x1b[2Jgone"},
                                         Escape{"ColourOfAnArgument", "\033[31mred\033[0m", "\\x1b[31mred\\x1b[0m"},
                                         Escape{"BellAndDelete", "\a\x7f", "\\x07\\x7f"},
                                         Escape{"C1Control",
                                                "a\xc2\x9b"
                                                "31m",
                                                "a\\xc2\\x9b31m"},
                                         Escape{"FirstAndLastC1", "\xc2\x80\xc2\x9f", "\\xc2\\x80\\xc2\\x9f"},
                                         Escape{"FirstBehindC1", "\xc2\xa0", "\xc2\xa0"},
                                         Escape{"Latin1",
                                                "Gr\xfc\xdf"
                                                "e",
                                                "Gr\\xfc\\xdfe"},
                                         Escape{"CutOffAtTheEnd", "\xe4\xbd", "\\xe4\\xbd"},
                                         Escape{"Overlong", "\xc0\xaf", "\\xc0\\xaf"},
                                         Escape{"Surrogate", "\xed\xa0\x80", "\\xed\\xa0\\x80"},
                                         Escape{"LoneContinuation", "\x80", "\\x80"},
                                         Escape{"OtherScripts", "Grüße, 你好, 😀", "Grüße, 你好, 😀"},
                                         Escape{"Backslash", "C:\\n", "C:\\n"}, Escape{"Percent", "100 %s", "100 %s"}),
                         [](const testing::TestParamInfo<Escape>& row) { return row.param.name; });

TEST(Log, OnlyColoursAreDroppedFromTheFormat) {
  Process process = logging_at(
      "3", [] { return __dlog_print(0, 6, tag, "\033[1;31mbold\033[m \033[2Jclear \033[3 \033[%dm end\033", 31); });
  EXPECT_EQ(process.wait(), LOG_PRINT_OK);
  EXPECT_TRUE(process.standard_error().ends_with("): bold \\x1b[2Jclear \\x1b[3 \\x1b[31m end\\x1b\n"))
      << process.standard_error();
}

TEST(Log, ALongLineIsWhole) {
  for (const std::size_t length : {510U, 511U, 512U, 513U, 1024U, 4096U, 100000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(shown(text), text) << length;
  }
}

TEST(Log, AShortLineNeedsNoHeapAndShortMemoryIsAnError) {
  Process process = logging_at("3", [] {
    std::pmr::set_default_resource(std::pmr::null_memory_resource());
    const std::string text(400, 'x');
    const std::string long_text(100000, 'x');
    const int short_line = __dlog_print(0, 6, tag, "%s: %s(%d) > \033[31m%s\033[0m", "File.cpp", "f", 1, text.c_str());
    const int long_line = __dlog_print(0, 6, tag, "%s", long_text.c_str());
    return short_line == LOG_PRINT_OK && long_line == LOG_PRINT_OUT_OF_MEMORY ? 0 : 1;
  });
  EXPECT_EQ(process.wait(), 0);
}

TEST(Log, BadArgumentsHaveCodesOfTheirOwn) {
  Process process = logging_at("3", [] {
    std::set<int> codes{LOG_PRINT_OK,         LOG_PRINT_INVALID_ARGUMENT, LOG_PRINT_UNKNOWN_PRIORITY,
                        LOG_PRINT_BAD_FORMAT, LOG_PRINT_OUT_OF_MEMORY,    LOG_PRINT_NOT_WRITTEN};
    const char* no_format = nullptr;
    const bool refused = __dlog_print(0, 6, nullptr, "line") == LOG_PRINT_INVALID_ARGUMENT &&
                         __dlog_print(0, 6, tag, no_format, 0) == LOG_PRINT_INVALID_ARGUMENT &&
                         __dlog_print(0, 2, tag, "line") == LOG_PRINT_UNKNOWN_PRIORITY &&
                         __dlog_print(0, 7, tag, "line") == LOG_PRINT_UNKNOWN_PRIORITY &&
                         __dlog_print(0, -1, tag, "line") == LOG_PRINT_UNKNOWN_PRIORITY;
    return refused && codes.size() == 6 ? 0 : 1;
  });
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(process.standard_error(), "");
}

TEST(Log, AnArgumentThatCannotBeFormattedIsAnError) {
  Process process = logging_at("3", [] {
    const wchar_t text[] = {static_cast<wchar_t>(0x7fffffff), 0};  // no character of the C locale
    return __dlog_print(0, 6, tag, "%ls", text) == LOG_PRINT_BAD_FORMAT ? 0 : 1;
  });
  EXPECT_EQ(process.wait(), 0);
}

TEST(Log, AClosedStderrIsAnErrorAndNoMore) {
  Process process = logging_at("3", [] {
    close(STDERR_FILENO);
    return __dlog_print(0, 6, tag, "line") == LOG_PRINT_NOT_WRITTEN ? 0 : 1;
  });
  EXPECT_EQ(process.wait(), 0);
}

TEST(Log, ErrnoIsKeptAndShown) {
  // As a variable: %m is an extension that the compiler's check does not know.
  static const char* errno_text = "%m%s";
  Process process = logging_at("6", [] {
    for (const int priority : {5, 6}) {
      errno = ENOENT;
      __dlog_print(0, priority, tag, errno_text, "");
      if (errno != ENOENT) {
        return 1;
      }
    }
    close(STDERR_FILENO);
    errno = ENOENT;
    __dlog_print(0, 6, tag, "not written");
    return errno == ENOENT ? 0 : 1;
  });
  EXPECT_EQ(process.wait(), 0);
  EXPECT_TRUE(process.standard_error().ends_with("): No such file or directory\n")) << process.standard_error();
}

TEST(Log, LinesOfSeveralThreadsDoNotMix) {
  constexpr int threads = 8;
  constexpr int lines = 200;
  Process process = logging_at("3", [] {
    std::vector<std::thread> writers;
    for (int i = 0; i < threads; ++i) {
      writers.emplace_back([i] {
        const std::string text(2000, static_cast<char>('a' + i));
        for (int line = 0; line < lines; ++line) {
          __dlog_print(0, 6, tag, "%s", text.c_str());
        }
      });
    }
    for (std::thread& writer : writers) {
      writer.join();
    }
    return 0;
  });
  ASSERT_EQ(process.wait(), 0);
  const std::vector<std::string> written = lines_of(process.standard_error());
  EXPECT_EQ(written.size(), static_cast<std::size_t>(threads * lines));
  const std::string prefix = "E/MSG_CONSUMER(" + std::to_string(process.pid()) + "): ";
  for (const std::string& line : written) {
    ASSERT_EQ(line, prefix + std::string(2000, line.back()));
  }
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : _fd(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  FileDescriptor(FileDescriptor&&) = delete;
  FileDescriptor& operator=(FileDescriptor&&) = delete;
  ~FileDescriptor() { close(_fd); }

  [[nodiscard]] int get() const { return _fd; }

 private:
  int _fd;
};

// What a terminal receives while `body` runs with it as stderr and NO_COLOR set to `no_color`.
std::string on_terminal(const std::optional<std::string>& no_color, const std::function<void()>& body) {
  const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_EQ(grantpt(terminal.get()), 0);
  EXPECT_EQ(unlockpt(terminal.get()), 0);
  const FileDescriptor stderr_side(open(ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  Process process = logging_at("3", [&] {
    no_color ? setenv("NO_COLOR", no_color->c_str(), 1) : unsetenv("NO_COLOR");
    dup2(stderr_side.get(), STDERR_FILENO);
    body();
    return 0;
  });
  EXPECT_EQ(process.wait(), 0);
  std::string received(4096, '\0');
  const ssize_t length = read(terminal.get(), received.data(), received.size());
  received.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  // The terminal driver ends lines with "\r\n"; the process id is cut out.
  const std::string pid = "(" + std::to_string(process.pid()) + ")";
  for (const std::string& cut : {pid, std::string("\r")}) {
    for (std::size_t at = received.find(cut); at != std::string::npos; at = received.find(cut)) {
      received.erase(at, cut.size());
    }
  }
  return received;
}

void log_each_priority() {
  LOG_ERROR(site, "e > \033[2J%s", "\033[31m");
  LOG_WARNING(site, "w");
  LOG_INFO(site, "i");
  __dlog_print(0, 3, tag, "d > d");
  __dlog_print(0, 6, tag, "no place");
}

constexpr std::string_view coloured =
    "E/MSG_CONSUMER: File.cpp: function(12) > \033[31me > \\x1b[2J\\x1b[31m\033[0m\n"
    "W/MSG_CONSUMER: File.cpp: function(12) > \033[35mw\033[0m\n"
    "I/MSG_CONSUMER: File.cpp: function(12) > \033[32mi\033[0m\n"
    "D/MSG_CONSUMER: d > d\n"
    "E/MSG_CONSUMER: \033[31mno place\033[0m\n";

constexpr std::string_view plain =
    "E/MSG_CONSUMER: File.cpp: function(12) > e > \\x1b[2J\\x1b[31m\n"
    "W/MSG_CONSUMER: File.cpp: function(12) > w\n"
    "I/MSG_CONSUMER: File.cpp: function(12) > i\n"
    "D/MSG_CONSUMER: d > d\n"
    "E/MSG_CONSUMER: no place\n";

TEST(Log, OnATerminalTheMessageAloneHasItsColour) { EXPECT_EQ(on_terminal(std::nullopt, log_each_priority), coloured); }

TEST(Log, NoColorTurnsTheColoursOff) { EXPECT_EQ(on_terminal("1", log_each_priority), plain); }

TEST(Log, AnEmptyNoColorMeansNothing) { EXPECT_EQ(on_terminal("", log_each_priority), coloured); }

}  // namespace
}  // namespace msg_consumer::test
