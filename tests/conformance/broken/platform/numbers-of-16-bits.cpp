// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include <cstdint>

#include "original.hpp"

using msg_consumer::test::original;

int preference_set_int(const char* key, int value) {
  return original(&preference_set_int)(key, static_cast<std::int16_t>(value));
}
