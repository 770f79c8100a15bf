// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_COMMAND_HPP
#define MSGCTL_COMMAND_HPP

#include <CLI/CLI.hpp>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "msgctl/failure.hpp"
#include "msgctl/output.hpp"
#include "msgctl/terminal.hpp"

namespace msgctl {

/// What a command works with.
struct Context {
  Output& out;
  Screen screen;
  bool json = false;
  ExitCode outcome = ExitCode::Ok;  ///< that of the first failure

  /// Tells of a failure and goes on.
  void report(const Failure& failure);

  /// Tells what was done: `words` to people, `item` as JSON of a kind to programs.
  void answer(std::string_view kind, const std::string& item, const std::string& words);
};

/// Runs a command whose arguments have been read.
using Action = std::function<void(Context&)>;

struct Command {
  std::string name;
  std::string summary;
  std::string example;
  /// Declares the arguments, and hands back what runs with them.
  std::function<Action(CLI::App&)> configure;
  /// For shells and builds, not for people: left out of help and manual.
  bool hidden = false;
};

/// Every command, in the order of the help. A name of several words, such as "thread read", is a command in a group.
const std::vector<Command>& commands();

/// What the commands of a group are for, by its name; empty for a name that is none.
std::string group_summary(const std::string& name);

/// Tells of a failure on the standard error, in words or as JSON.
void print_failure(const Failure& failure, bool json);

/// Accepts whole numbers from `minimum` on.
CLI::Validator whole_number(int minimum, const std::string& description = "NUMBER");

/// Accepts whole numbers of 64 bits without a sign.
CLI::Validator unsigned_number();

/// Accepts texts that are not empty; `what` is named in the complaint ("address").
CLI::Validator not_empty(const std::string& what, const std::string& description = "TEXT");

/// Accepts the ids of messages.
inline CLI::Validator message_id() { return whole_number(1, "MESSAGE"); }

/// Accepts the ids of threads.
inline CLI::Validator thread_id() { return whole_number(1, "THREAD"); }

/// Accepts one of a few words.
CLI::Validator one_of(const std::vector<std::string>& words);

/// Accepts one of a few words, and puts its number in its place.
CLI::Validator one_of(const std::map<std::string, int>& numbers);

/// What the value of an option is called in the help, and completed as: the path of a file.
inline constexpr const char* file_value = "FILE";

}  // namespace msgctl

#endif
