// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/common_util.h>
#include <msg-consumer-platform/preference.h>

#include <array>
#include <chrono>
#include <string_view>

#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

// The store asks the platform for preferences through a dynamic symbol: the program's own definition comes first.
struct Preference {
  const char* key;
  bool (*capability)();
  bool value = false;
  int status = 0;
};

std::array<Preference, 2> preferences = {
    {{"consumer_preference_bool_numbersync_supported", common_util::is_numbersync_supported},
     {"consumer_preference_bool_wpc_mode", common_util::is_wpc_mode}}};

std::string about(const Preference& preference) { return std::string("what ") + preference.key + " gives"; }

void read_true(Findings& findings) {
  for (auto& preference : preferences) {
    preference.value = true;
    findings.equal(about(preference), true, preference.capability());
  }
}

void read_false(Findings& findings) {
  for (auto& preference : preferences) findings.equal(about(preference), false, preference.capability());
}

void keep_what_was_read(Findings& findings) {
  for (auto& preference : preferences) {
    preference.value = true;
    preference.capability();
    preference.value = false;
    findings.equal(about(preference) + ", once it was true", true, preference.capability());
  }
}

void try_again(Findings& findings) {
  for (auto& preference : preferences) {
    preference.value = true;
    preference.status = PREFERENCE_UNREADABLE_FILE;
    findings.equal(about(preference) + ", when it cannot be read", false, preference.capability());
    preference.status = 0;
    findings.equal(about(preference) + ", when it can be read again", true, preference.capability());
  }
}

// It is asked for every message that is converted.
void ask_often(Findings& findings) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 100'000; ++i) common_util::is_numbersync_supported();
  const auto needed = std::chrono::steady_clock::now() - begin;
  findings.expect(needed < std::chrono::seconds(2), "a hundred thousand calls took more than two seconds");
}

}  // namespace

Sentences capability_sentences() {
  return {
      {"capabilities", "a capability that the preferences give is there", "", read_true},
      {"capabilities", "a capability that the preferences deny is not there", "", read_false},
      {"capabilities", "a capability does not change during the process's life", "", keep_what_was_read},
      {"capabilities", "a capability that cannot be read is not there, and is tried again", "", try_again},
      {"capabilities", "asking for a capability is cheap", "", ask_often},
  };
}

}  // namespace msg_consumer::conformance

extern "C" __attribute__((visibility("default"))) int preference_get_boolean(const char* key, bool* value) {
  for (const auto& preference : msg_consumer::conformance::preferences) {
    if (std::string_view(preference.key) != key) continue;
    if (preference.status == 0) *value = preference.value;
    return preference.status;
  }
  return PREFERENCE_UNKNOWN_KEY;
}
