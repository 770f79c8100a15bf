// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_LOG_CAPTURE_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_LOG_CAPTURE_HPP

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace msg_consumer::test {

/// One line as it was handed to the log. A line that is not of the form "file: function(line) > COLOUR message RESET"
/// has none of the last five members.
struct LogLine {
  int log_id = 0;
  int priority = 0;
  std::string tag;
  std::string format;
  std::string text;  ///< the formatted whole
  std::string file;
  std::string function;
  int line = 0;
  std::string message;
  std::string colour;
};

/// The lines that the program has logged. Collects them from the start, whatever the log's threshold.
class LogCapture {
 public:
  static LogCapture& instance();

  void add(LogLine line);
  void clear();

  [[nodiscard]] std::vector<LogLine> lines() const;

  /// The messages alone; the whole texts of lines of another form.
  [[nodiscard]] std::vector<std::string> messages() const;

  /// Whether `text` is part of any line.
  [[nodiscard]] bool contains(std::string_view text) const;

 private:
  mutable std::mutex _mutex;
  std::vector<LogLine> _lines;
};

}  // namespace msg_consumer::test

#endif
