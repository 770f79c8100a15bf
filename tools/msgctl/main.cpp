// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <new>

#include "msgctl/command.hpp"
#include "msgctl/version.hpp"

namespace {

using msgctl::ExitCode;
using msgctl::Failure;

constexpr const char* footer =
    "Exit status:\n"
    "  0  done\n"
    "  1  failed\n"
    "  2  the command line was not understood\n"
    "  3  no such message, thread or other record\n"
    "  4  the service or the message bus cannot be reached\n"
    "  5  refused: by the service, or for an invalid argument\n"
    "  6  not supported on this device\n"
    "\n"
    "'msgctl COMMAND --help' shows a command's options and an example.\n";

// The command line as declared, and the command that was found on it.
class CommandLine {
 public:
  CommandLine() {
    _app.set_version_flag("--version", std::string("msgctl ") + msgctl::version);
    _app.add_flag("--json", _json, "Print JSON, for programs");
    _app.add_flag("--debug", _debug, "Print the library's log on the standard error");
    _app.require_subcommand(1);
    // Options for every command may stand behind the command, too.
    _app.fallthrough();
    _app.footer(footer);
    for (const msgctl::Command& command : msgctl::commands()) add(command);
  }

  void parse(int argc, char** argv) { _app.parse(argc, argv); }
  int print_help(const CLI::Success& request) { return _app.exit(request); }

  [[nodiscard]] bool json() const { return _json; }
  [[nodiscard]] bool debug() const { return _debug; }

  // The name of the command that was found, also where its arguments were not understood.
  [[nodiscard]] std::string found() const {
    std::string name;
    for (const CLI::App* app = &_app; !app->get_subcommands().empty();) {
      app = app->get_subcommands().front();
      name += (name.empty() ? "" : " ") + app->get_name();
    }
    return name;
  }

  // Whether that is a command, and not only a group of them.
  [[nodiscard]] bool complete() const { return chosen() != _entries.end(); }

  void run(msgctl::Context& context) const {
    if (complete()) chosen()->action(context);
  }

 private:
  struct Entry {
    CLI::App* app;
    msgctl::Action action;
  };

  [[nodiscard]] std::vector<Entry>::const_iterator chosen() const {
    return std::find_if(_entries.begin(), _entries.end(), [](const Entry& entry) { return entry.app->parsed(); });
  }

  // The group in which a command or a group stands, made where it is missing.
  CLI::App& group_of(const std::string& name) {
    const std::size_t blank = name.rfind(' ');
    if (blank == std::string::npos) return _app;
    const std::string group_name = name.substr(0, blank);
    CLI::App*& group = _groups[group_name];
    if (group == nullptr) {
      group = group_of(group_name)
                  .add_subcommand(last_word(group_name),
                                  msgctl::group_summary(group_name) + "; see 'msgctl " + group_name + " --help'");
      group->require_subcommand(1);
    }
    return *group;
  }

  static std::string last_word(const std::string& name) { return name.substr(name.rfind(' ') + 1); }

  void add(const msgctl::Command& command) {
    CLI::App* app = group_of(command.name).add_subcommand(last_word(command.name), command.summary);
    app->footer("Example:\n  " + command.example + "\n");
    _entries.push_back({app, command.configure(*app)});
  }

  CLI::App _app{"Read, write and watch the device's messages.", "msgctl"};
  std::map<std::string, CLI::App*> _groups;
  std::vector<Entry> _entries;
  bool _json = false;
  bool _debug = false;
};

// The library's own log is for developers; people get this tool's words. What the user has set stands.
void set_log_level(bool debug) {
  static_cast<void>(setenv("MSG_CONSUMER_LOG_LEVEL", debug ? "3" : "7", debug ? 1 : 0));
}

ExitCode run(const CommandLine& command_line) {
  set_log_level(command_line.debug());
  msgctl::Output out;
  msgctl::Context context{out, msgctl::screen_of(STDOUT_FILENO), command_line.json()};
  try {
    command_line.run(context);
  } catch (const Failure& failure) {
    context.report(failure);
  } catch (const std::bad_alloc&) {
    context.report(Failure(ExitCode::Failed, "out of memory"));
  }
  out.flush();
  return context.outcome;
}

// The command line without its options, of which those in front of the command take no value.
std::vector<std::string> words_of(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  std::erase_if(words, [](const std::string& word) { return word.starts_with('-'); });
  return words;
}

// The parser only finds that a command is missing where one is misspelt.
Failure failure_of(const CLI::ParseError& error, const CommandLine& command_line,
                   const std::vector<std::string>& words) {
  const std::string found = command_line.found();
  const std::string prefix = found.empty() ? "" : found + " ";
  const auto depth = static_cast<std::size_t>(std::count(prefix.begin(), prefix.end(), ' '));
  const bool misspelt = !command_line.complete() && words.size() > depth;
  const std::string what = misspelt ? "there is no command '" + prefix + words[depth] + "'" : error.what();
  return {
      ExitCode::Usage, what,
      "'msgctl " + prefix + "--help' " + (command_line.complete() ? "shows how it is used." : "lists the commands.")};
}

// Errors of the command line itself may leave the options unread.
bool asks_for_json(int argc, char** argv) {
  return std::find(argv, argv + argc, std::string_view("--json")) != argv + argc;
}

ExitCode parse_and_run(int argc, char** argv) {
  CommandLine command_line;
  try {
    command_line.parse(argc, argv);
  } catch (const CLI::Success& request) {
    return static_cast<ExitCode>(command_line.print_help(request));
  } catch (const CLI::ParseError& error) {
    msgctl::print_failure(failure_of(error, command_line, words_of(argc, argv)), asks_for_json(argc, argv));
    return ExitCode::Usage;
  }
  return run(command_line);
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that leaves is noticed when writing; GIO ignores the signal from its first connection on anyway.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  try {
    return static_cast<int>(parse_and_run(argc, argv));
  } catch (const msgctl::OutputClosed&) {
    return static_cast<int>(ExitCode::Ok);
  } catch (const std::exception& error) {
    msgctl::print_failure(Failure(ExitCode::Failed, error.what()), false);
    return static_cast<int>(ExitCode::Failed);
  }
}
