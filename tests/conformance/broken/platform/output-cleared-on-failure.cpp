// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include "original.hpp"

using msg_consumer::test::original;

int preference_get_boolean(const char* key, bool* value) {
  const int status = original(&preference_get_boolean)(key, value);
  if (status != PREFERENCE_OK && value != nullptr) *value = false;
  return status;
}
