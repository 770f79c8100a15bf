// SPDX-License-Identifier: Apache-2.0
#include "ServiceLaunch.hpp"

#include <msg-consumer-platform/app-control.h>

#include <msg-consumer-platform/releaser.hpp>

#include "ipc/ServiceNames.hpp"

namespace msg_consumer {

void launch_service(const CallSite& site) {
  LOG_ERROR(site, "[ERROR] Message consumer is not ready, trying to launch message consumer!");
  app_control_h created = nullptr;
  if (const int result = app_control_create(&created); result != 0) {
    LOG_ERROR(site, "[ERROR] app_control_create() failed: (%d)", result);
    return;
  }
  const Owned<app_control_s, app_control_destroy> app_control(created);
  if (const int result = app_control_set_app_id(app_control.get(), SERVICE_BUS_NAME); result != 0) {
    LOG_ERROR(site, "[ERROR] app_control_set_app_id() failed: (%d)", result);
    return;
  }
  if (const int result = app_control_send_launch_request(app_control.get(), nullptr, nullptr); result != 0) {
    LOG_ERROR(site, "app_control_send_launch_request() failed: (%d)", result);
  }
}

}  // namespace msg_consumer
