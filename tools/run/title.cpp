// SPDX-License-Identifier: Apache-2.0
#include "run/title.hpp"

#include <sys/prctl.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace msg_consumer_run {

void set_title(int argc, char** argv, const char* title) {
  static_cast<void>(prctl(PR_SET_NAME, title));
  if (argc == 0) return;
  // The kernel lays the arguments out one behind the other.
  char* const begin = argv[0];
  char* const end = argv[argc - 1] + std::strlen(argv[argc - 1]);
  std::fill(begin, end, '\0');
  std::copy_n(title, std::min(std::strlen(title), static_cast<std::size_t>(end - begin)), begin);
}

}  // namespace msg_consumer_run
