// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_PLATFORM_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_PLATFORM_HPP

// The platform's preferences and application control as this executable defines them in the platform library's place.

#include <map>
#include <string>
#include <vector>

namespace fake {

struct Platform {
  // What a test sets: values by key, and what the functions return instead of 0.
  std::map<std::string, int> ints = {{"consumer_preference_int_consumer_status", 1}};
  std::map<std::string, bool> bools = {{"consumer_preference_bool_support_sending_mms", true}};
  int preference_result = 0;
  int create_result = 0, set_app_id_result = 0, launch_result = 0;

  // What a test reads: every call in order, for example "preference_get_int(key)".
  std::vector<std::string> calls;
  int alive_app_controls = 0;

  void reset() { *this = Platform(); }
};

Platform& platform();

}  // namespace fake

#endif
