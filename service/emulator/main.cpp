// SPDX-License-Identifier: Apache-2.0
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "emulator.hpp"
#include "server.hpp"
#include "step-parser.hpp"

namespace {

constexpr const char* USAGE =
    "Usage: msg-consumer-emulator [--scenario FILE]\n"
    "\n"
    "The message service with an emulated world around it. Its places are set in the environment, as the service's.\n"
    "\n"
    "  --scenario FILE  perform the steps in FILE: those that wait for nothing before the service starts\n"
    "  --help           show this\n";

constexpr int USAGE_ERROR = 2;

int run(const std::string& scenario) try {
  std::vector<msg_consumer::service::emulator::Step> steps;
  if (!scenario.empty()) {
    steps = msg_consumer::service::emulator::load_scenario(scenario);
  }
  msg_consumer::service::emulator::Emulator emulator(scenario, std::move(steps));
  return msg_consumer::service::serve(emulator);
} catch (const std::exception& error) {
  static_cast<void>(std::fprintf(stderr, "msg-consumer-emulator: %s\n", error.what()));
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  const option options[] = {
      {"scenario", required_argument, nullptr, 's'}, {"help", no_argument, nullptr, 'h'}, {nullptr, 0, nullptr, 0}};
  std::string scenario;
  for (int found = 0; (found = getopt_long(argc, argv, "", options, nullptr)) != -1;) {
    if (found == 'h') {
      static_cast<void>(std::fputs(USAGE, stdout));
      return EXIT_SUCCESS;
    }
    if (found != 's') {
      static_cast<void>(std::fputs(USAGE, stderr));
      return USAGE_ERROR;
    }
    scenario = optarg;
  }
  if (optind < argc) {
    static_cast<void>(std::fputs(USAGE, stderr));
    return USAGE_ERROR;
  }
  return run(scenario);
}
