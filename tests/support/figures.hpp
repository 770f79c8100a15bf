// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_FIGURES_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_FIGURES_HPP

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <string>
#include <utility>

namespace msg_consumer::test {

/// Further numbers of a figure: name and value.
using MoreFigures = std::initializer_list<std::pair<const char*, std::int64_t>>;

/// Tells how many faults of a class were tried and how many were survived with nothing lost. One JSON line goes to
/// stdout and to the end of the file that MSG_CONSUMER_FIGURES names, if any. The names are plain words that need no
/// escape.
inline void report_figure(const std::string& class_of_fault, std::int64_t tried, std::int64_t survived,
                          MoreFigures more = {}) {
  std::string line = R"({"class":")" + class_of_fault + R"(","tried":)" + std::to_string(tried) + R"(,"survived":)" +
                     std::to_string(survived);
  for (const auto& [name, value] : more) line += std::string(",\"") + name + "\":" + std::to_string(value);
  line += "}\n";
  std::cout << line;
  if (const char* path = std::getenv("MSG_CONSUMER_FIGURES"); path != nullptr && *path != '\0') {
    // One write per line, appended: tests that run in parallel share the file.
    std::ofstream(path, std::ios::app).write(line.data(), static_cast<std::streamsize>(line.size())).flush();
  }
}

}  // namespace msg_consumer::test

#endif
