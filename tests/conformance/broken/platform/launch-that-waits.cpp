// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/app-control.h>

#include <chrono>
#include <thread>

#include "original.hpp"

using msg_consumer::test::original;

int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback, void* user_data) {
  const int status = original(&app_control_send_launch_request)(app_control, callback, user_data);
  // As long as the application needs to start.
  if (status == APP_CONTROL_OK) std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  return status;
}
