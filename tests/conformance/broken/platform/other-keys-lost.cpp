// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "original.hpp"

using msg_consumer::test::original;

int preference_set_int(const char* key, int value) {
  const int status = original(&preference_set_int)(key, value);
  const char* path = std::getenv("MSG_CONSUMER_PREFERENCES");
  if (status != PREFERENCE_OK || path == nullptr) return status;
  const std::string replacement = std::string(path) + "." + std::to_string(getpid());
  std::ofstream(replacement) << "[preferences]\n" << key << '=' << value << '\n';
  return std::rename(replacement.c_str(), path);
}
