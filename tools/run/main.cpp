// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <optional>

#include "run/failure.hpp"
#include "run/options.hpp"
#include "run/runner.hpp"

namespace {

// A file that takes the number of a closed standard stream would be written to in its place.
void fill_standard_streams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) static_cast<void>(open("/dev/null", O_RDWR));
  }
}

}  // namespace

int main(int argc, char** argv) {
  fill_standard_streams();
  try {
    const std::optional<msg_consumer_run::Options> options = msg_consumer_run::read_options(argc, argv);
    return options ? msg_consumer_run::run(*options, argc, argv) : EXIT_SUCCESS;
  } catch (const std::exception& error) {
    msg_consumer_run::say(error.what());
    return msg_consumer_run::EXIT_OWN_FAILURE;
  }
}
