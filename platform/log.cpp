// SPDX-License-Identifier: Apache-2.0
#include <glib.h>
#include <msg-consumer-platform/log.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory_resource>
#include <new>
#include <string>
#include <string_view>

namespace {

// Lines that fit into this many bytes, working copies included, are written without touching the heap.
constexpr std::size_t scratch_size = 4096;

constexpr int lowest_priority = 3;
constexpr int highest_priority = 6;
constexpr int default_threshold = 6;
constexpr int silent_threshold = 7;

struct Priority {
  char letter;
  const char* journal_level;
  std::string_view colour;
  GLogLevelFlags glib_level;
};

constexpr std::array<Priority, highest_priority - lowest_priority + 1> priorities{{
    {'D', "7", "", G_LOG_LEVEL_DEBUG},
    {'I', "6", "\033[32m", G_LOG_LEVEL_INFO},
    {'W', "4", "\033[35m", G_LOG_LEVEL_WARNING},
    {'E', "3", "\033[31m", G_LOG_LEVEL_CRITICAL},
}};

constexpr std::string_view colour_reset = "\033[0m";

// A caller may log between a failed call and its own look at errno.
class ErrnoKeeper {
 public:
  ErrnoKeeper() = default;
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
  ErrnoKeeper(ErrnoKeeper&&) = delete;
  ErrnoKeeper& operator=(ErrnoKeeper&&) = delete;
  ~ErrnoKeeper() { restore(); }

  void restore() const { errno = _saved; }

 private:
  int _saved = errno;
};

int read_threshold() {
  const char* text = secure_getenv("MSG_CONSUMER_LOG_LEVEL");
  if (text == nullptr) {
    return default_threshold;
  }
  int value = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, value);
  const bool valid = error == std::errc() && stop == end && value >= lowest_priority && value <= silent_threshold;
  return valid ? value : default_threshold;
}

// Not a static in the function: a child that is forked while another thread makes that would wait for it for ever.
constinit std::atomic<int> kept_threshold = 0;

int threshold() {
  if (kept_threshold == 0) kept_threshold = read_threshold();
  return kept_threshold;
}

// The length of the colour sequence ("ESC [ digits m") that `text` begins with, 0 when it begins with none.
std::size_t colour_length(std::string_view text) {
  if (!text.starts_with("\033[")) {
    return 0;
  }
  const std::size_t end = text.find_first_not_of("0123456789;", 2);
  return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

void append_without_colours(std::pmr::string& out, std::string_view format) {
  while (!format.empty()) {
    const std::size_t escape = std::min(format.find('\033'), format.size());
    out.append(format.substr(0, escape));
    format.remove_prefix(escape);
    const std::size_t colour = colour_length(format);
    if (colour == 0 && !format.empty()) {
      out.push_back(format.front());
    }
    format.remove_prefix(std::min(std::max<std::size_t>(colour, 1), format.size()));
  }
}

// False when the C library cannot format the line at all.
bool format_text(std::pmr::string& out, const char* format, std::va_list arguments) {
  constexpr std::size_t usual_length = 511;
  std::va_list again;
  va_copy(again, arguments);
  out.resize(usual_length);
  int length = std::vsnprintf(out.data(), out.size() + 1, format, arguments);
  if (length > static_cast<int>(usual_length)) {
    out.resize(static_cast<std::size_t>(length));
    length = std::vsnprintf(out.data(), out.size() + 1, format, again);
  }
  va_end(again);
  if (length >= 0) {
    out.resize(static_cast<std::size_t>(length));
  }
  return length >= 0;
}

void append_escaped_byte(std::pmr::string& out, unsigned char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  switch (byte) {
    case '\n':
      out.append("\\n");
      break;
    case '\r':
      out.append("\\r");
      break;
    case '\t':
      out.append("\\t");
      break;
    default:
      out.append("\\x").append(1, digits[byte >> 4U]).append(1, digits[byte & 0xfU]);
  }
}

// The length of the printable UTF-8 character that `text` begins with, 0 for a control character or invalid bytes.
std::size_t printable_length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80) {
    return g_ascii_iscntrl(text.front()) ? 0 : 1;
  }
  const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  const bool invalid = character == static_cast<gunichar>(-1) || character == static_cast<gunichar>(-2);
  return invalid || g_unichar_iscntrl(character) ? 0 : static_cast<std::size_t>(g_utf8_skip[first]);
}

// Texts come from outside: none may forge a second line, or drive the terminal it is shown on.
void append_escaped(std::pmr::string& out, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = printable_length(text);
    if (length == 0) {
      append_escaped_byte(out, static_cast<unsigned char>(text.front()));
    } else {
      out.append(text.substr(0, length));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

bool send_to_journal(const Priority& priority, const char* tag, const char* text) {
  const std::array<GLogField, 3> fields{{
      {"MESSAGE", text, -1},
      {"PRIORITY", priority.journal_level, -1},
      {"SYSLOG_IDENTIFIER", tag, -1},
  }};
  return g_log_writer_journald(priority.glib_level, fields.data(), fields.size(), nullptr) == G_LOG_WRITER_HANDLED;
}

bool colours_wanted() {
  const char* no_color = std::getenv("NO_COLOR");
  return (no_color == nullptr || *no_color == '\0') && isatty(STDERR_FILENO) == 1;
}

// What follows the place that the line speaks for is the message: it alone is coloured.
void append_coloured(std::pmr::string& out, std::string_view text, std::string_view colour) {
  constexpr std::string_view separator = " > ";
  const std::size_t found = text.find(separator);
  const std::size_t message = found == std::string_view::npos ? 0 : found + separator.size();
  out.append(text.substr(0, message)).append(colour).append(text.substr(message)).append(colour_reset);
}

bool write_all(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(STDERR_FILENO, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

bool write_to_stderr(std::pmr::string& line, const Priority& priority, std::string_view tag, std::string_view text) {
  std::array<char, 16> pid{};
  const char* pid_end = std::to_chars(pid.data(), pid.data() + pid.size(), getpid()).ptr;
  line.reserve(text.size() + tag.size() + 64);
  line.append(1, priority.letter).append(1, '/').append(tag).append(1, '(').append(pid.cbegin(), pid_end).append("): ");
  if (!priority.colour.empty() && colours_wanted()) {
    append_coloured(line, text, priority.colour);
  } else {
    line.append(text);
  }
  line.push_back('\n');
  // One write, so that lines of several threads and processes do not mix.
  return write_all(line);
}

int print(const Priority& priority, const char* tag, const char* format, std::va_list arguments,
          const ErrnoKeeper& caller_errno) {
  std::array<std::byte, scratch_size> scratch{};
  std::pmr::monotonic_buffer_resource memory(scratch.data(), scratch.size());
  std::pmr::string plain_format(&memory);
  if (std::strchr(format, '\033') != nullptr) {
    plain_format.reserve(std::strlen(format));
    append_without_colours(plain_format, format);
    format = plain_format.c_str();
  }
  std::pmr::string text(&memory);
  caller_errno.restore();  // for %m
  if (!format_text(text, format, arguments)) {
    return LOG_PRINT_BAD_FORMAT;
  }
  std::pmr::string escaped(&memory);
  escaped.reserve(text.size() + 64);
  append_escaped(escaped, text);
  if (g_log_writer_is_journald(STDERR_FILENO) != FALSE && send_to_journal(priority, tag, escaped.c_str())) {
    return LOG_PRINT_OK;
  }
  std::pmr::string line(&memory);
  return write_to_stderr(line, priority, tag, escaped) ? LOG_PRINT_OK : LOG_PRINT_NOT_WRITTEN;
}

}  // namespace

int __dlog_print(int /*log_id*/, int priority, const char* tag, const char* format, ...) {
  if (tag == nullptr || format == nullptr) {
    return LOG_PRINT_INVALID_ARGUMENT;
  }
  if (priority < lowest_priority || priority > highest_priority) {
    return LOG_PRINT_UNKNOWN_PRIORITY;
  }
  const ErrnoKeeper caller_errno;
  if (priority < threshold()) {
    return LOG_PRINT_OK;
  }
  std::va_list arguments;
  va_start(arguments, format);
  int result = LOG_PRINT_OUT_OF_MEMORY;
  try {
    result =
        print(priorities[static_cast<std::size_t>(priority - lowest_priority)], tag, format, arguments, caller_errno);
  } catch (const std::bad_alloc&) {
    result = LOG_PRINT_OUT_OF_MEMORY;
  }
  va_end(arguments);
  return result;
}
