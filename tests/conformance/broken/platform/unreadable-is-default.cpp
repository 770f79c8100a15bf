// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include "original.hpp"

using msg_consumer::test::original;

int preference_get_int(const char* key, int* value) {
  const int status = original(&preference_get_int)(key, value);
  if (status != PREFERENCE_UNREADABLE_FILE) return status;
  *value = 0;
  return PREFERENCE_OK;
}
