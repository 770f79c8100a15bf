// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_PLATFORM_LOGGING_HPP
#define MSG_CONSUMER_PLATFORM_LOGGING_HPP

// How the C++ code of this project writes log lines: "file: function(line) > " and the text in its priority's colour.

#include <msg-consumer-platform/log.h>

namespace msg_consumer {

/// The place a log line speaks for.
struct CallSite {
  const char* file;
  const char* function;
  int line;
};

}  // namespace msg_consumer

/// The calling function's place. Evaluate it as an argument, before any lambda: inside one, `__func__` is "operator()".
#define HERE (::msg_consumer::CallSite{__FILE_NAME__, static_cast<const char*>(__func__), __LINE__})

// Macros, so that the compiler checks each format against its arguments and the whole format is one constant.
#define MSG_CONSUMER_LOG(priority, colour, site, format, ...)                                                       \
  static_cast<void>(__dlog_print(0, priority, "MSG_CONSUMER", "%s: %s(%d) > " colour format "\033[0m", (site).file, \
                                 (site).function, (site).line __VA_OPT__(, ) __VA_ARGS__))

#define LOG_ERROR(site, format, ...) MSG_CONSUMER_LOG(6, "\033[31m", site, format __VA_OPT__(, ) __VA_ARGS__)
#define LOG_WARNING(site, format, ...) MSG_CONSUMER_LOG(5, "\033[35m", site, format __VA_OPT__(, ) __VA_ARGS__)
#define LOG_INFO(site, format, ...) MSG_CONSUMER_LOG(4, "\033[32m", site, format __VA_OPT__(, ) __VA_ARGS__)

#endif
