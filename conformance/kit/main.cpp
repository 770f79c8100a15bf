// SPDX-License-Identifier: Apache-2.0

// Holds a store or a platform library against its interface, whoever made it.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "kit/checks.hpp"
#include "kit/failure.hpp"
#include "kit/libraries.hpp"
#include "kit/report.hpp"
#include "kit/state.hpp"
#include "kit/temp-folder.hpp"

namespace {

using namespace msg_consumer::conformance;

constexpr int SOME_FAIL = 1;
constexpr int CANNOT_CHECK = 2;

struct Wish {
  std::string side;  ///< "store" or "platform"
  std::string library;
  std::string platform;  ///< what a store logs with
  std::string filler;
  std::string filter;
  std::string fixture;
  std::string application;
  std::string started;
  bool log_on_stderr = false;
  bool list = false;
  bool tap = false;
  double time_limit = 30;
};

CLI::App* add_side(CLI::App& program, Wish& wish, const std::string& name, const std::string& description) {
  auto* side = program.add_subcommand(name, description);
  side->add_option("--library", wish.library, "the library to check, instead of the installed one")->type_name("PATH");
  side->add_option("--filler", wish.filler, "the program that puts data into the library")->type_name("PATH");
  side->add_option("--filter", wish.filter, "check only sentences whose group or words contain this")
      ->type_name("TEXT");
  side->add_option("--fixture", wish.fixture, "print the data of a state, as the filler gets it")->type_name("STATE");
  side->add_option("--time-limit", wish.time_limit, "how long one sentence may take")
      ->type_name("SECONDS")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  side->add_flag("--list", wish.list, "print the sentences");
  side->add_flag("--tap", wish.tap, "print the results as TAP");
  side->callback([&wish, name] { wish.side = name; });
  return side;
}

void add_options(CLI::App& program, Wish& wish) {
  program.set_version_flag("--version", VERSION);
  program.require_subcommand(1);
  program.footer("The exit status is 0 when no sentence fails, 1 when some do, and 2 when nothing could be checked.");
  auto* store = add_side(program, wish, "store", "check a " STORE_SONAME);
  store->add_option("--platform", wish.platform, "the " PLATFORM_SONAME " to go with it")->type_name("PATH");
  auto* platform = add_side(program, wish, "platform", "check a " PLATFORM_SONAME);
  platform->add_option("--application", wish.application, "an application that may be launched")->type_name("ID");
  platform->add_option("--started", wish.started, "a file that the application makes when it starts")
      ->type_name("PATH");
  platform->add_flag("--log-on-stderr", wish.log_on_stderr, "the log is written to standard error");
}

bool is_wanted(const ListedSentence& sentence, const std::string& filter) {
  return sentence.group.find(filter) != std::string::npos || sentence.text.find(filter) != std::string::npos;
}

/// What is said to the program that checks.
std::vector<std::string> options_of(const Wish& wish, const TempFolder& folder) {
  std::vector<std::string> options;
  const auto add = [&options](const char* name, const std::string& value) {
    if (!value.empty()) options.push_back(std::string(name) + "=" + value);
  };
  add("library", wish.library.empty() ? "" : std::filesystem::canonical(wish.library).string());
  add("application", wish.application);
  add("started", wish.started.empty() ? "" : std::filesystem::absolute(wish.started).string());
  add("log", wish.log_on_stderr ? (folder.path() / "log").string() : "");
  return options;
}

/// The programs that check lie beside this one.
std::filesystem::path checks_program(const Wish& wish) {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / ("msg-consumer-conformance-" + wish.side);
}

Outcome look_into(const ListedSentence& sentence, const Checks& checks, State& state,
                  const std::vector<std::string>& options) {
  const auto environment = state.prepare(sentence);
  if (!environment) return {Verdict::Skipped, {state.reason()}};
  return checks.look_into(sentence, *environment, options);
}

int check(const Wish& wish, const Checks& checks, const std::vector<ListedSentence>& sentences,
          const TempFolder& folder) {
  State state(wish.filler, folder.path(), checks);
  const auto options = options_of(wish, folder);
  Report report(std::cout, wish.tap ? Report::Form::Tap : Report::Form::Text);
  report.begin(sentences.size());
  for (const auto& sentence : sentences) {
    std::filesystem::remove(folder.path() / "log");
    report.add(sentence, look_into(sentence, checks, state, options));
  }
  report.end();
  if (report.knows_nothing()) return CANNOT_CHECK;
  return report.all_hold() ? EXIT_SUCCESS : SOME_FAIL;
}

int fulfil(const Wish& wish) {
  const TempFolder folder;
  Libraries libraries(folder.path() / "libraries");
  const bool is_store = wish.side == "store";
  if (!wish.library.empty()) libraries.replace(is_store ? STORE_SONAME : PLATFORM_SONAME, wish.library);
  if (!wish.platform.empty()) libraries.replace(PLATFORM_SONAME, wish.platform);
  const auto time_limit = std::chrono::milliseconds(static_cast<long>(wish.time_limit * 1000));
  const Checks checks(checks_program(wish), libraries.environment(), folder.path() / "checks", time_limit);
  if (!wish.fixture.empty()) {
    std::cout << checks.fixture(wish.fixture);
    return EXIT_SUCCESS;
  }
  auto sentences = checks.list();
  std::erase_if(sentences, [&wish](const auto& sentence) { return !is_wanted(sentence, wish.filter); });
  if (sentences.empty()) throw CannotCheck("no sentence contains \"" + wish.filter + "\"");
  if (!wish.list) return check(wish, checks, sentences, folder);
  for (const auto& sentence : sentences) std::cout << sentence.group << ": " << sentence.text << '\n';
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  Wish wish;
  CLI::App program("Holds a store or a platform library against its interface.", "msg-consumer-conformance");
  try {
    add_options(program, wish);
    program.parse(argc, argv);
    return fulfil(wish);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? EXIT_SUCCESS : CANNOT_CHECK;
  } catch (const std::exception& error) {
    std::cerr << "msg-consumer-conformance: " << error.what() << '\n';
    return CANNOT_CHECK;
  }
}
