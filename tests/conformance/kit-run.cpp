// SPDX-License-Identifier: Apache-2.0
#include "kit-run.hpp"

#include <cstdlib>
#include <sstream>

#include "support/process.hpp"

namespace msg_consumer::test {
namespace {

// A run is more than a hundred processes, on a machine that may run other tests too.
constexpr std::chrono::minutes time_limit{4};

void read_tap(const std::string& line, KitRun& run) {
  const auto dash = line.find(" - ");
  const auto skip = line.find(" # SKIP");
  if (dash == std::string::npos || line.starts_with("#")) {
    return;
  }
  const auto begin = dash + 3;
  const std::string sentence = line.substr(begin, skip == std::string::npos ? skip : skip - begin);
  auto& list = skip != std::string::npos ? run.skipped : line.starts_with("ok ") ? run.holding : run.failing;
  list.push_back(sentence);
}

// A sanitizer would take a crash over and end the program its own way.
Process::Environment crashes_left_alone() {
  Process::Environment environment;
  for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
    const char* before = std::getenv(name);
    environment[name] = (before != nullptr ? std::string(before) + ":" : "") + "handle_segv=0:handle_abort=0";
  }
  return environment;
}

}  // namespace

KitRun run_kit(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {KIT_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  Process process(command, crashes_left_alone());
  KitRun run;
  run.status = process.wait(time_limit).value_or(-1);
  run.output = process.standard_output();
  run.errors = process.standard_error();
  std::istringstream lines(run.output);
  for (std::string line; std::getline(lines, line);) {
    read_tap(line, run);
  }
  return run;
}

std::vector<std::string> store_arguments(const std::string& library) {
  return {"store", "--library", library, "--filler", STORE_FILLER, "--tap"};
}

std::vector<std::string> platform_arguments(const std::string& library) {
  return {"platform", "--library", library, "--filler", PLATFORM_FILLER, "--log-on-stderr", "--tap"};
}

}  // namespace msg_consumer::test
