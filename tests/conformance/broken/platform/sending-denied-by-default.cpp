// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>

#include <string_view>

#include "original.hpp"

using msg_consumer::test::original;

int preference_get_boolean(const char* key, bool* value) {
  const int status = original(&preference_get_boolean)(key, value);
  const bool is_sending = key != nullptr && std::string_view(key) == "consumer_preference_bool_support_sending_mms";
  if (status == PREFERENCE_OK && is_sending) *value = false;
  return status;
}
