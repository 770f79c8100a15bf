// SPDX-License-Identifier: Apache-2.0
#include "msgctl/manual.hpp"

#include <array>

#include "msgctl/exit-codes.hpp"
#include "msgctl/failure.hpp"
#include "msgctl/help.hpp"
#include "msgctl/version.hpp"

namespace msgctl {
namespace {

// A text that roff prints as it stands. At a line's beginning a point or an apostrophe would be a request.
std::string roff(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      default:
        result += c;
    }
  }
  return result.starts_with('.') ? "\\&" + result : result;
}

std::string term(const std::string& name, const std::string& meaning) {
  return ".TP\n" + name + "\n" + roff(meaning) + ".\n";
}

std::string name_of(const OptionOutline& option) {
  if (option.positional) return "\\fI" + roff(option.name) + "\\fR";
  const std::string name = "\\fB" + roff(option.name) + "\\fR";
  return option.value.empty() ? name : name + " \\fI" + roff(option.value) + "\\fR";
}

std::string meaning_of(const OptionOutline& option) {
  std::string meaning = option.description;
  if (!option.group.empty()) {
    meaning += " (" + std::string(1, static_cast<char>(std::tolower(option.group.front()))) + option.group.substr(1) +
               " these)";
  }
  return meaning;
}

std::string options_of(const Outline& outline) {
  std::string text;
  for (const OptionOutline& option : outline.options) {
    // What is said of every command need not be said again.
    if (!outline.name.empty() && option.name == "--help") continue;
    text += term(name_of(option), meaning_of(option));
  }
  return text;
}

std::string commands_of(const Outline& outline) {
  std::string text;
  for (const Outline& command : outline.commands) {
    if (command.hidden) continue;
    if (!command.commands.empty()) {
      text += commands_of(command);
      continue;
    }
    const std::string options = options_of(command);
    text += ".SS \"" + roff(usage_of(command)) + "\"\n" + roff(command.summary) + ".\n" + options;
    text += ".PP\nExample:\n.PP\n.RS 4\n.nf\n" + roff(command.example) + "\n.fi\n.RE\n";
  }
  return text;
}

std::string exit_status() {
  std::string text;
  for (const ExitCodeMeaning& entry : exit_codes) {
    text += term("\\fB" + std::to_string(static_cast<int>(entry.code)) + "\\fR", entry.meaning);
  }
  return text;
}

}  // namespace

std::string manual(const Outline& root, const std::string& prose) {
  const std::array<std::pair<std::string, std::string>, 4> parts = {{{"@OPTIONS@\n", options_of(root)},
                                                                     {"@COMMANDS@\n", commands_of(root)},
                                                                     {"@EXIT_STATUS@\n", exit_status()},
                                                                     {"@VERSION@", version}}};
  std::string text = prose;
  for (const auto& [mark, part] : parts) {
    const std::size_t place = text.find(mark);
    if (place == std::string::npos) throw Failure(ExitCode::Refused, "the text has no " + mark);
    text.replace(place, mark.size(), part);
  }
  return text;
}

}  // namespace msgctl
