// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/app-control.h>

#include "original.hpp"

using msg_consumer::test::original;

int app_control_destroy(app_control_h app_control) {
  static_cast<void>(*reinterpret_cast<volatile char*>(app_control));
  return original(&app_control_destroy)(app_control);
}
