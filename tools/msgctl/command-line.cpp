// SPDX-License-Identifier: Apache-2.0
#include "msgctl/command-line.hpp"

#include <unistd.h>

#include <algorithm>

#include "msgctl/help.hpp"
#include "msgctl/version.hpp"

namespace msgctl {
namespace {

std::string last_word(const std::string& name) { return name.substr(name.rfind(' ') + 1); }

}  // namespace

CommandLine::CommandLine() {
  _app.set_version_flag("--version", std::string("msgctl ") + version, "Print the version and end");
  _app.set_help_flag("-h,--help", "Print this help and end");
  _app.add_flag("--json", _json, "Print JSON, for programs");
  _app.add_flag("--debug", _debug, "Print the library's log on the standard error");
  _app.add_option("--color", _colour, "When to use colour; auto does on terminals unless NO_COLOR is set")
      ->check(one_of({"auto", "always", "never"}));
  _app.require_subcommand(1);
  // Options for every command may stand behind the command, too.
  _app.fallthrough();
  _app.formatter_fn([](const CLI::App* app, const std::string& /*name*/, CLI::AppFormatMode /*mode*/) {
    return help_of(outline_of(*app), screen_of(STDOUT_FILENO).width);
  });
  for (const Command& command : commands()) add(command);
}

Colour CommandLine::colour() const {
  if (_colour == "auto") return Colour::Auto;
  return _colour == "always" ? Colour::Always : Colour::Never;
}

std::string CommandLine::found() const {
  std::string name;
  for (const CLI::App* app = &_app; !app->get_subcommands().empty();) {
    app = app->get_subcommands().front();
    name += (name.empty() ? "" : " ") + app->get_name();
  }
  return name;
}

void CommandLine::run(Context& context) const {
  if (complete()) chosen()->action(context);
}

std::vector<CommandLine::Entry>::const_iterator CommandLine::chosen() const {
  return std::find_if(_entries.begin(), _entries.end(), [](const Entry& entry) { return entry.app->parsed(); });
}

// The group in which a command or a group stands, made where it is missing.
CLI::App& CommandLine::group_of(const std::string& name) {
  const std::size_t blank = name.rfind(' ');
  if (blank == std::string::npos) return _app;
  const std::string group_name = name.substr(0, blank);
  CLI::App*& group = _groups[group_name];
  if (group == nullptr) {
    group = group_of(group_name).add_subcommand(last_word(group_name), group_summary(group_name));
    group->require_subcommand(1);
  }
  return *group;
}

void CommandLine::add(const Command& command) {
  CLI::App* app = group_of(command.name).add_subcommand(last_word(command.name), command.summary);
  if (command.hidden) app->group("");
  _entries.push_back({app, command.configure(*app)});
}

}  // namespace msgctl
