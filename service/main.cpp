// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>

#include "server.hpp"

int main(int argc, char** argv) {
  if (argc > 1) {
    static_cast<void>(std::fprintf(stderr, "%s takes no arguments; its places are set in the environment\n", argv[0]));
    return EXIT_FAILURE;
  }
  msg_consumer::service::Surroundings plain;
  return msg_consumer::service::serve(plain);
}
