// SPDX-License-Identifier: Apache-2.0
#include "run/options.hpp"

#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>

#include "run/failure.hpp"
#include "run/store-copy.hpp"

namespace msg_consumer_run {
namespace {

namespace fs = std::filesystem;

constexpr const char* description =
    "Runs COMMAND on a private message bus with the emulator and a store of its own, and removes everything when\n"
    "COMMAND ends. The machine's own buses, services and stores are out of its reach.";

constexpr const char* footer =
    "COMMAND finds in its environment\n"
    "  DBUS_SYSTEM_BUS_ADDRESS, DBUS_SESSION_BUS_ADDRESS    the private bus\n"
    "  MSG_CONSUMER_DB, MSG_CONSUMER_FILES,\n"
    "  MSG_CONSUMER_PREFERENCES                             its store\n"
    "  MSG_CONSUMER_TEST_BED                                the folder with all of that, and the emulator's log\n"
    "MSG_CONSUMER_EMULATOR names another emulator to use.\n"
    "\n"
    "An emulator that dies is started again, without the scenario, by the next call to it.\n"
    "Whatever COMMAND leaves running is ended with it. SIGTERM and SIGHUP are handed on to COMMAND, which then has\n"
    "5 seconds.\n"
    "\n"
    "Exit status:\n"
    "  that of COMMAND, or\n"
    "  125    msg-consumer-run itself failed\n"
    "  126    COMMAND was found but cannot be run\n"
    "  127    COMMAND was not found\n"
    "  128+N  COMMAND was ended by signal N\n"
    "\n"
    "Examples:\n"
    "  msg-consumer-run -- msgctl send --to +15550100 \"Lunch at one?\"\n"
    "  msg-consumer-run --scenario time-out.json -- ./my-test\n"
    "  msg-consumer-run --store saved/messages.db -- bash\n";

// The parser does not know that a command follows.
class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: msg-consumer-run [OPTIONS] -- COMMAND [ARGUMENT...]\n";
  }
};

void declare(CLI::App& app, Options& options) {
  app.set_version_flag("--version", std::string("msg-consumer-run ") + MSG_CONSUMER_RUN_VERSION);
  app.add_option("--scenario", options.scenario, "What the emulator does: a scenario file")->type_name("FILE");
  app.add_option("--store", options.store, "Begin with a copy of this store; the file itself stays as it is")
      ->type_name("FILE");
  app.add_option("--files", options.files,
                 "The attachments of --store, copied too [the folder \"files\" beside it, if there is one]")
      ->type_name("DIR");
  app.add_flag("--exchange", options.exchange,
               "Files pass through the folder $MSG_CONSUMER_EXCHANGE alone, as on a device that confines the service");
  app.add_flag("--keep", options.keep, "Leave the folder with the store and the log, and say where it is");
  app.footer(footer);
  // What follows the first word that is no option is the command's.
  app.prefix_command();
  app.formatter(std::make_shared<Help>());
}

Failure usage_failure(const std::string& what) { return Failure(what + "; see 'msg-consumer-run --help'"); }

// The parser would take "--" for its own, and out of the command as well.
void parse(CLI::App& app, int argc, char** argv, std::vector<std::string>& command) {
  char** const end = argv + argc;
  char** const mark = std::find(argv, end, std::string_view("--"));
  app.parse(static_cast<int>(mark - argv), argv);
  command = app.remaining();
  if (!command.empty() && (mark != end || command.front().starts_with('-'))) {
    throw usage_failure("'" + command.front() + "' was not understood");
  }
  if (mark != end) command.assign(mark + 1, end);
  if (command.empty()) throw usage_failure("there is no command to run");
}

void check_readable(const std::string& what, const std::string& path) {
  if (access(path.c_str(), R_OK) != 0) {
    throw Failure("cannot read the " + what + " '" + path + "': " + std::strerror(errno));
  }
  if (!fs::is_regular_file(path)) throw Failure("the " + what + " '" + path + "' is not a file");
}

void settle_files(Options& options) {
  if (options.store.empty()) {
    if (!options.files.empty()) throw usage_failure("--files needs --store");
    return;
  }
  check_readable("store", options.store);
  check_store(options.store);
  const fs::path beside = fs::path(options.store).parent_path() / "files";
  if (options.files.empty() && fs::is_directory(beside)) options.files = beside.string();
  if (!options.files.empty() && !fs::is_directory(options.files)) {
    throw Failure("the attachments '" + options.files + "' are no folder");
  }
}

}  // namespace

std::optional<Options> read_options(int argc, char** argv) {
  Options options;
  CLI::App app(description, "msg-consumer-run");
  declare(app, options);
  try {
    parse(app, argc, argv, options.command);
  } catch (const CLI::Success& request) {
    static_cast<void>(app.exit(request));
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw usage_failure(error.what());
  }
  if (!options.scenario.empty()) check_readable("scenario", options.scenario);
  settle_files(options);
  return options;
}

}  // namespace msg_consumer_run
