// SPDX-License-Identifier: Apache-2.0
#include "msgctl/help.hpp"

#include <algorithm>

#include "msgctl/exit-codes.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

constexpr std::size_t longest_name = 26;
constexpr std::size_t narrow = 60;

// A name and what it means: side by side where there is room.
struct Entry {
  std::string name;
  std::string meaning;
};

class Page {
 public:
  explicit Page(std::size_t width) : _width(std::max<std::size_t>(width, 20)) {}

  void paragraph(const std::string& text) {
    for (const std::string& line : wrapped(text, _width)) _text += line + "\n";
  }

  void section(const std::string& title, const std::vector<Entry>& entries) {
    if (entries.empty()) return;
    _text += "\n" + title + ":\n";
    const std::size_t indent = meaning_column(entries);
    for (const Entry& entry : entries) add(entry, indent);
  }

  // As it stands, since it is to be copied.
  void verbatim(const std::string& title, const std::string& line) { _text += "\n" + title + ":\n  " + line + "\n"; }

  void separator() { _text += "\n"; }

  [[nodiscard]] std::string text() const { return _text; }

 private:
  [[nodiscard]] std::size_t meaning_column(const std::vector<Entry>& entries) const {
    if (_width < narrow) return 6;
    std::size_t longest = 0;
    for (const Entry& entry : entries) {
      if (entry.name.size() <= longest_name) longest = std::max(longest, entry.name.size());
    }
    return longest + 4;
  }

  void add(const Entry& entry, std::size_t indent) {
    std::string line = "  " + entry.name;
    const bool beside = line.size() + 2 <= indent;
    if (!beside) {
      _text += line + "\n";
      line.clear();
    }
    for (const std::string& part : wrapped(entry.meaning, _width - indent)) {
      line.resize(indent, ' ');
      _text += line + part + "\n";
      line.clear();
    }
  }

  std::size_t _width;
  std::string _text;
};

std::string name_of(const OptionOutline& option) {
  std::string name = option.name;
  if (!option.positional && !option.value.empty()) name += " " + option.value;
  return option.repeats ? name + " ..." : name;
}

template <typename Predicate>
std::vector<Entry> entries_of(const Outline& outline, Predicate wanted) {
  std::vector<Entry> entries;
  for (const OptionOutline& option : outline.options) {
    if (!wanted(option)) continue;
    const char* note = option.required && !option.positional ? " (required)" : "";
    entries.push_back({name_of(option), option.description + note});
  }
  return entries;
}

std::vector<std::string> choice_groups(const Outline& outline) {
  std::vector<std::string> groups;
  for (const OptionOutline& option : outline.options) {
    const bool known = std::find(groups.begin(), groups.end(), option.group) != groups.end();
    if (!option.group.empty() && !known) groups.push_back(option.group);
  }
  return groups;
}

std::vector<Entry> commands_of(const Outline& outline) {
  std::vector<Entry> entries;
  for (const Outline& command : outline.commands) {
    if (!command.hidden) entries.push_back({command.name, command.summary});
  }
  return entries;
}

std::vector<Entry> exit_status_entries() {
  std::vector<Entry> entries;
  for (const ExitCodeMeaning& entry : exit_codes) {
    entries.push_back({std::to_string(static_cast<int>(entry.code)), entry.meaning});
  }
  return entries;
}

}  // namespace

std::string usage_of(const Outline& outline) {
  std::string usage = outline.name.empty() ? "msgctl" : "msgctl " + outline.name;
  if (!outline.commands.empty()) return usage + " [OPTIONS] COMMAND";
  usage += " [OPTIONS]";
  for (const OptionOutline& option : outline.options) {
    if (!option.positional) continue;
    const std::string name = option.name + (option.repeats ? "..." : "");
    usage += option.required ? " " + name : " [" + name + "]";
  }
  return usage;
}

std::string help_of(const Outline& outline, std::size_t width) {
  Page page(width);
  page.paragraph(outline.summary);
  page.paragraph("Usage: " + usage_of(outline));
  page.section("Arguments", entries_of(outline, [](const OptionOutline& option) {
                 return option.positional && option.group.empty();
               }));
  for (const std::string& group : choice_groups(outline)) {
    page.section(group, entries_of(outline, [&](const OptionOutline& option) { return option.group == group; }));
  }
  page.section("Options", entries_of(outline, [](const OptionOutline& option) {
                 return !option.positional && option.group.empty();
               }));
  page.section("Commands", commands_of(outline));
  if (outline.name.empty()) page.section("Exit status", exit_status_entries());
  if (!outline.example.empty()) page.verbatim("Example", outline.example);
  page.separator();
  page.paragraph(outline.commands.empty() ? "'msgctl --help' lists the options that every command takes, and the exit "
                                            "statuses."
                                          : "'msgctl COMMAND --help' shows a command's options and an example.");
  return page.text();
}

}  // namespace msgctl
