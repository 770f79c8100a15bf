// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/log.h>
#include <unistd.h>

#include <fcntl.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "platform/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

constexpr const char* TAG = "CONFORMANCE";
constexpr int DEBUG = 3;
constexpr int ERROR = 6;

void expect_ok(Findings& findings, const std::string& what, int status) {
  findings.equal("the status of " + what, 0, status);
}

void expect_negative(Findings& findings, const std::string& what, int status) {
  findings.expect(status < 0, what + " gives " + std::to_string(status) + " and not a negative status");
}

void take_priorities(Findings& findings) {
  for (int priority = DEBUG; priority <= ERROR; ++priority) {
    expect_ok(findings, "a line of priority " + std::to_string(priority),
              __dlog_print(0, priority, TAG, "%s: %s(%d) > text", "file.cpp", "function", 1));
  }
}

void refuse_nothing(Findings& findings) {
  const char* volatile nothing = nullptr;
  expect_negative(findings, "a line without a tag", __dlog_print(0, ERROR, nothing, "text"));
  expect_negative(findings, "a line without a format", __dlog_print(0, ERROR, TAG, nothing, 1));
}

void refuse_priorities(Findings& findings) {
  for (const int priority : {-1, 0, 2, 7, 100}) {
    expect_negative(findings, "a line of priority " + std::to_string(priority), __dlog_print(0, priority, TAG, "text"));
  }
}

void keep_errno(Findings& findings) {
  errno = EXDEV;
  __dlog_print(0, ERROR, TAG, "text");
  findings.equal("errno after a line", EXDEV, errno);
}

void take_long_lines(Findings& findings) {
  for (const std::size_t length : {std::size_t{0}, std::size_t{1000}, std::size_t{100'000}}) {
    expect_ok(findings, "a line of " + std::to_string(length) + " bytes",
              __dlog_print(0, ERROR, TAG, "%s", std::string(length, 'x').c_str()));
  }
}

/// What `speak` writes to the log, where the log is standard error; nothing when it is not, and the sentence is
/// skipped.
std::vector<std::string> logged(Findings& findings, const std::function<void()>& speak) {
  const auto path = findings.option("log");
  if (!path) {
    findings.skip("the log is not to be seen: --log-on-stderr says that it is standard error");
    return {};
  }
  const int file = open(path->c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dup2(file, STDERR_FILENO);
  close(file);
  speak();
  std::ifstream input(*path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(input, line);) lines.push_back(line);
  return lines;
}

std::ptrdiff_t lines_with(const std::vector<std::string>& lines, const std::string& text) {
  return std::count_if(lines.begin(), lines.end(),
                       [&text](const std::string& line) { return line.find(text) != std::string::npos; });
}

void format_arguments(Findings& findings) {
  const auto lines = logged(findings, [] {
    __dlog_print(0, ERROR, TAG, "%s: %s(%d) > [%5.1f|%-3s|%x]", "file.cpp", "function", 42, 2.25, "a", 255U);
  });
  if (lines.empty() && !findings.option("log")) return;
  findings.equal("how many lines hold the formatted text", 1,
                 lines_with(lines, "file.cpp: function(42) > [  2.2|a  |ff]"));
  findings.equal("how many lines hold the tag", 1, lines_with(lines, TAG));
}

void keep_lines_whole(Findings& findings) {
  constexpr int THREADS = 4;
  constexpr int LINES = 50;
  const auto lines = logged(findings, [] {
    std::vector<std::thread> speakers;
    for (int i = 0; i < THREADS; ++i) {
      speakers.emplace_back([] {
        for (int line = 0; line < LINES; ++line)
          __dlog_print(0, ERROR, TAG, "begin %s end", std::string(500, 'x').c_str());
      });
    }
    for (auto& speaker : speakers) speaker.join();
  });
  if (lines.empty() && !findings.option("log")) return;
  findings.equal("how many whole lines there are", THREADS * LINES,
                 lines_with(lines, "begin " + std::string(500, 'x') + " end"));
}

void keep_text_on_its_line(Findings& findings) {
  const auto lines =
      logged(findings, [] { __dlog_print(0, ERROR, TAG, "before %s after", "line\nE/FORGED(1): another\033[31m"); });
  if (lines.empty() && !findings.option("log")) return;
  findings.equal("how many lines there are", 1, lines.size());
  findings.equal("how many lines hold a control character", 0, lines_with(lines, "\033"));
}

}  // namespace

Sentences log_sentences() {
  return {
      {"log", "a line of each of the four priorities is taken", DEFAULTS, take_priorities},
      {"log", "a line without a tag or a format is refused", DEFAULTS, refuse_nothing},
      {"log", "a line of another priority is refused", DEFAULTS, refuse_priorities},
      {"log", "errno is kept", DEFAULTS, keep_errno},
      {"log", "a line may be empty, and it may be long", DEFAULTS, take_long_lines},
      {"log", "a line has its tag, and its arguments formatted", DEFAULTS, format_arguments},
      {"log", "lines of several threads do not mix", DEFAULTS, keep_lines_whole},
      {"log", "no argument makes a line of its own", DEFAULTS, keep_text_on_its_line},
  };
}

}  // namespace msg_consumer::conformance
