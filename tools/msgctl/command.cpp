// SPDX-License-Identifier: Apache-2.0
#include "msgctl/command.hpp"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "msgctl/json-text.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

std::string json_of(const Failure& failure) {
  nlohmann::ordered_json error = {{"code", exit_code_word(failure.code())},
                                  {"exit_code", static_cast<int>(failure.code())},
                                  {"message", failure.what()}};
  if (!failure.advice().empty()) error["advice"] = failure.advice();
  return json_text(nlohmann::ordered_json{{"version", 1}, {"error", std::move(error)}}) + "\n";
}

std::string words_of(const Failure& failure) {
  const Screen screen = screen_of(STDERR_FILENO);
  std::string words = "msgctl: " + styled("error:", Style::Red, screen) + " " + printable(failure.what()) + "\n";
  if (!failure.advice().empty()) words += printable(failure.advice(), Newlines::Keep) + "\n";
  return words;
}

}  // namespace

void Context::report(const Failure& failure) {
  // What was done before stands before the complaint, also where both streams end in one file. JSON has no place for
  // it before its end.
  if (!json) out.flush();
  print_failure(failure, json);
  if (outcome == ExitCode::Ok) outcome = failure.code();
}

CLI::Validator whole_number(int minimum, const std::string& description) {
  const auto check = [minimum](const std::string& text) -> std::string {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && stop == end && value >= minimum) return {};
    return "'" + text + "' is not a whole number from " + std::to_string(minimum) + " to " +
           std::to_string(std::numeric_limits<int>::max());
  };
  return CLI::Validator(check, description);
}

void print_failure(const Failure& failure, bool json) {
  static_cast<void>(std::fputs((json ? json_of(failure) : words_of(failure)).c_str(), stderr));
}

}  // namespace msgctl
