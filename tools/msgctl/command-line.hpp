// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_COMMAND_LINE_HPP
#define MSGCTL_COMMAND_LINE_HPP

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <vector>

#include "msgctl/command.hpp"

namespace msgctl {

/// The command line as declared, and the command that was found on it.
class CommandLine {
 public:
  CommandLine();

  /// Throws what the parser throws.
  void parse(int argc, char** argv) { _app.parse(argc, argv); }

  /// Prints what --help or --version asked for, and returns the exit status.
  int print_help(const CLI::Success& request) { return _app.exit(request); }

  [[nodiscard]] bool json() const { return _json; }
  [[nodiscard]] bool debug() const { return _debug; }
  [[nodiscard]] Colour colour() const;

  /// The name of the command that was found, also where its arguments were not understood.
  [[nodiscard]] std::string found() const;

  /// Whether that is a command, and not only a group of them.
  [[nodiscard]] bool complete() const { return chosen() != _entries.end(); }

  void run(Context& context) const;

 private:
  struct Entry {
    CLI::App* app;
    Action action;
  };

  [[nodiscard]] std::vector<Entry>::const_iterator chosen() const;
  CLI::App& group_of(const std::string& name);
  void add(const Command& command);

  CLI::App _app{"Read, write and watch the device's messages.", "msgctl"};
  std::map<std::string, CLI::App*> _groups;
  std::vector<Entry> _entries;
  std::string _colour = "auto";
  bool _json = false;
  bool _debug = false;
};

}  // namespace msgctl

#endif
