// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_CONFORMANCE_KIT_RUN_HPP
#define MSG_CONSUMER_TESTS_CONFORMANCE_KIT_RUN_HPP

#include <string>
#include <vector>

namespace msg_consumer::test {

/// What the conformance kit found.
struct KitRun {
  int status = -1;
  std::string output;
  std::string errors;
  // From its output as TAP, each sentence with its group.
  std::vector<std::string> holding;
  std::vector<std::string> failing;
  std::vector<std::string> skipped;
};

/// Runs the kit to its end.
KitRun run_kit(const std::vector<std::string>& arguments);

/// The arguments for our own store, and for our own platform, with what the kit needs to check all of it.
std::vector<std::string> store_arguments(const std::string& library);
std::vector<std::string> platform_arguments(const std::string& library);

}  // namespace msg_consumer::test

#endif
