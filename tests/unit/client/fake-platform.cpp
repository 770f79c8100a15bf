// SPDX-License-Identifier: Apache-2.0
#include "fake-platform.hpp"

#include <msg-consumer-platform/app-control.h>
#include <msg-consumer-platform/preference.h>

namespace fake {

Platform& platform() {
  static Platform instance;
  return instance;
}

}  // namespace fake

using fake::platform;

struct app_control_s {
  std::string id;
};

extern "C" {

int preference_get_int(const char* key, int* value) {
  platform().calls.push_back(std::string("preference_get_int(") + key + ")");
  if (platform().preference_result == 0) *value = platform().ints.at(key);
  return platform().preference_result;
}

int preference_get_boolean(const char* key, bool* value) {
  platform().calls.push_back(std::string("preference_get_boolean(") + key + ")");
  if (platform().preference_result == 0) *value = platform().bools.at(key);
  return platform().preference_result;
}

int preference_set_int(const char* key, int value) {
  platform().calls.push_back(std::string("preference_set_int(") + key + ", " + std::to_string(value) + ")");
  if (platform().preference_result == 0) platform().ints[key] = value;
  return platform().preference_result;
}

int app_control_create(app_control_h* app_control) {
  platform().calls.emplace_back("app_control_create");
  if (platform().create_result != 0) return platform().create_result;
  *app_control = new app_control_s;
  ++platform().alive_app_controls;
  return 0;
}

int app_control_set_app_id(app_control_h app_control, const char* app_id) {
  platform().calls.push_back(std::string("app_control_set_app_id(") + app_id + ")");
  app_control->id = app_id;
  return platform().set_app_id_result;
}

int app_control_send_launch_request(app_control_h, app_control_reply_cb callback, void* user_data) {
  const bool bare = callback == nullptr && user_data == nullptr;
  platform().calls.emplace_back(bare ? "app_control_send_launch_request" : "app_control_send_launch_request(callback)");
  return platform().launch_result;
}

int app_control_destroy(app_control_h app_control) {
  platform().calls.emplace_back("app_control_destroy");
  --platform().alive_app_controls;
  delete app_control;
  return 0;
}

}  // extern "C"
