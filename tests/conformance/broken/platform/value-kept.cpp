// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include <map>
#include <string>

#include "original.hpp"

using msg_consumer::test::original;

static thread_local std::map<std::string, int> known;

int preference_get_int(const char* key, int* value) {
  if (key != nullptr && value != nullptr && known.count(key) == 1) {
    *value = known.at(key);
    return PREFERENCE_OK;
  }
  const int status = original(&preference_get_int)(key, value);
  if (status == PREFERENCE_OK) known[key] = *value;
  return status;
}

int preference_set_int(const char* key, int value) {
  const int status = original(&preference_set_int)(key, value);
  if (status == PREFERENCE_OK) known[key] = value;
  return status;
}
