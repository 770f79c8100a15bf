// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "original.hpp"

using msg_consumer::test::original;

int preference_set_int(const char* key, int value) {
  const char* path = std::getenv("MSG_CONSUMER_PREFERENCES");
  if (path == nullptr) return original(&preference_set_int)(key, value);
  // Writers keep each other out, so that readers alone see it.
  const int lock = open((std::string(path) + ".steps").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  flock(lock, LOCK_EX);
  const std::string hidden = std::string(path) + ".hidden";
  std::rename(path, hidden.c_str());
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::rename(hidden.c_str(), path);
  const int status = original(&preference_set_int)(key, value);
  close(lock);
  return status;
}
