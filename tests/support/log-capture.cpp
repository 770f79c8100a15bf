// SPDX-License-Identifier: Apache-2.0
#include "support/log-capture.hpp"

#include <msg-consumer-platform/log.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <utility>

namespace msg_consumer::test {

namespace {

// Cuts `text` before `separator` and returns what was there; false when it is not found.
bool take_until(std::string_view& text, std::string_view separator, std::string_view& taken) {
  const std::size_t found = text.find(separator);
  if (found == std::string_view::npos) {
    return false;
  }
  taken = text.substr(0, found);
  text.remove_prefix(found + separator.size());
  return true;
}

// Splits "file: function(line) > COLOUR message RESET".
void parse(LogLine& line) {
  constexpr std::string_view reset = "\033[0m";
  std::string_view rest = line.text;
  std::string_view file;
  std::string_view function;
  std::string_view number;
  std::string_view colour;
  const bool of_the_form = take_until(rest, ": ", file) && take_until(rest, "(", function) &&
                           take_until(rest, ") > \033[", number) && take_until(rest, "m", colour) &&
                           rest.ends_with(reset);
  if (!of_the_form) {
    return;
  }
  rest.remove_suffix(reset.size());
  line.file = file;
  line.function = function;
  std::from_chars(number.data(), number.data() + number.size(), line.line);
  line.colour = std::string("\033[").append(colour).append("m");
  line.message = rest;
}

std::string formatted(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
  static_cast<void>(std::vsnprintf(text.data(), text.size() + 1, format, again));
  va_end(again);
  return text;
}

}  // namespace

// Never destroyed: exit handlers log too.
LogCapture& LogCapture::instance() {
  static LogCapture& capture = *std::make_unique<LogCapture>().release();
  return capture;
}

void LogCapture::add(LogLine line) {
  parse(line);
  const std::lock_guard lock(_mutex);
  _lines.push_back(std::move(line));
}

void LogCapture::clear() {
  const std::lock_guard lock(_mutex);
  _lines.clear();
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard lock(_mutex);
  return _lines;
}

std::vector<std::string> LogCapture::messages() const {
  std::vector<std::string> messages;
  for (LogLine& line : lines()) {
    messages.push_back(std::move(line.file.empty() ? line.text : line.message));
  }
  return messages;
}

bool LogCapture::contains(std::string_view text) const {
  const std::lock_guard lock(_mutex);
  return std::any_of(_lines.begin(), _lines.end(),
                     [text](const LogLine& line) { return line.text.find(text) != std::string::npos; });
}

}  // namespace msg_consumer::test

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...) {
  msg_consumer::test::LogLine line;
  line.log_id = log_id;
  line.priority = priority;
  line.tag = tag;
  line.format = format;
  std::va_list arguments;
  va_start(arguments, format);
  line.text = msg_consumer::test::formatted(format, arguments);
  va_end(arguments);
  msg_consumer::test::LogCapture::instance().add(std::move(line));
  return LOG_PRINT_OK;
}
