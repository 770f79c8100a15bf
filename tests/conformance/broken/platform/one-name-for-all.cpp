// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/app-control.h>

#include "original.hpp"

using msg_consumer::test::original;

int app_control_set_app_id(app_control_h app_control, const char* app_id) {
  if (app_control == nullptr || app_id == nullptr) return APP_CONTROL_INVALID_ARGUMENT;
  return original(&app_control_set_app_id)(app_control, "com.example.another");
}
