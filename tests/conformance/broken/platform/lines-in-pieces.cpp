// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "original.hpp"

using msg_consumer::test::original;

int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...) {
  if (format == nullptr) return LOG_PRINT_INVALID_ARGUMENT;
  std::va_list arguments;
  va_start(arguments, format);
  std::vector<char> text(200'000);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  for (char* begin = text.data(); begin != nullptr;) {
    char* end = std::strchr(begin, '\n');
    if (end != nullptr) *end++ = '\0';
    const int status = original(&__dlog_print)(log_id, priority, tag, "%s", begin);
    if (status != LOG_PRINT_OK) return status;
    begin = end;
  }
  return LOG_PRINT_OK;
}
