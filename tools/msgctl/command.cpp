// SPDX-License-Identifier: Apache-2.0
#include "msgctl/command.hpp"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
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

// Only the usual form of a number is accepted: the parser would take a leading zero for an octal number.
template <typename Number>
CLI::Validator number_from(Number minimum, const std::string& description) {
  const auto check = [minimum](const std::string& text) -> std::string {
    Number value = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && std::to_string(value) == text && value >= minimum) return {};
    return "'" + text + "' is not a whole number from " + std::to_string(minimum) + " to " +
           std::to_string(std::numeric_limits<Number>::max());
  };
  return CLI::Validator(check, description);
}

}  // namespace

void Context::report(const Failure& failure) {
  // What was done before stands before the complaint, also where both streams end in one file. JSON has no place for
  // it before its end.
  if (!json) out.flush();
  print_failure(failure, json);
  if (outcome == ExitCode::Ok) outcome = failure.code();
}

void Context::answer(std::string_view kind, const std::string& item, const std::string& words) {
  json ? write_json_item(out, kind, item) : out.write(words + "\n");
}

CLI::Validator whole_number(int minimum, const std::string& description) { return number_from(minimum, description); }

CLI::Validator unsigned_number() { return number_from<std::uint64_t>(0, "NUMBER"); }

CLI::Validator not_empty(const std::string& what, const std::string& description) {
  return CLI::Validator([what](const std::string& text) { return text.empty() ? "the " + what + " is empty" : ""; },
                        description);
}

CLI::Validator one_of(const std::vector<std::string>& words) {
  const std::string description = CLI::detail::join(words, "|");
  const auto check = [words, description](const std::string& text) -> std::string {
    const bool known = std::find(words.begin(), words.end(), text) != words.end();
    return known ? "" : "'" + text + "' is none of " + description;
  };
  return CLI::Validator(check, description);
}

CLI::Validator one_of(const std::map<std::string, int>& numbers) {
  std::vector<std::string> words;
  for (const auto& [word, number] : numbers) words.push_back(word);
  const std::string description = CLI::detail::join(words, "|");
  const auto replace = [numbers, description](std::string& text) -> std::string {
    const auto found = numbers.find(text);
    if (found == numbers.end()) return "'" + text + "' is none of " + description;
    text = std::to_string(found->second);
    return {};
  };
  return CLI::Validator(replace, description);
}

void print_failure(const Failure& failure, bool json) {
  static_cast<void>(std::fputs((json ? json_of(failure) : words_of(failure)).c_str(), stderr));
}

}  // namespace msgctl
