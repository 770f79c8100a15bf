// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <new>

#include "msgctl/command-line.hpp"

namespace {

using msgctl::CommandLine;
using msgctl::ExitCode;
using msgctl::Failure;

// The library's own log is for developers; people get this tool's words. What the user has set stands.
void set_log_level(bool debug) {
  static_cast<void>(setenv("MSG_CONSUMER_LOG_LEVEL", debug ? "3" : "7", debug ? 1 : 0));
}

ExitCode run(const CommandLine& command_line) {
  set_log_level(command_line.debug());
  msgctl::choose_colour(command_line.colour());
  msgctl::Output out;
  msgctl::Context context{out, msgctl::screen_of(STDOUT_FILENO), command_line.json()};
  try {
    command_line.run(context);
    out.flush();
  } catch (const Failure& failure) {
    context.report(failure);
  } catch (const std::bad_alloc&) {
    context.report(Failure(ExitCode::Failed, "out of memory"));
  }
  // What was written before a failure is still to be seen; that it cannot be is the lesser news then.
  try {
    out.flush();
  } catch (const Failure& failure) {
    if (context.outcome == ExitCode::Ok) context.report(failure);
  }
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
