// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/common_util.h>

#include <atomic>
#include <optional>

#include <msg-consumer-platform/preference.h>
#include <msg-consumer-platform/logging.hpp>

namespace msg_consumer::common_util {
namespace {

/// A capability of the device. Only what was read is kept: a failure may be gone at the next call. There is no lock,
/// which a forked child would inherit for ever from a thread that it has not; two threads may both read it first.
class Capability {
 public:
  explicit constexpr Capability(const char* key) : _key(key) {}

  bool is_given(const CallSite& site) {
    if (const State known = _state; known != UNKNOWN) return known == GIVEN;
    const std::optional<bool> value = read(site);
    if (value) _state = *value ? GIVEN : DENIED;
    return value.value_or(false);
  }

 private:
  enum State { UNKNOWN, GIVEN, DENIED };

  std::optional<bool> read(const CallSite& site) const {
    bool value = false;
    if (const int status = preference_get_boolean(_key, &value); status != 0) {
      LOG_ERROR(site, "[ERROR] preference_get_boolean(%s) failed: (%d)", _key, status);
      return std::nullopt;
    }
    return value;
  }

  const char* _key;
  std::atomic<State> _state = UNKNOWN;
};

constinit Capability number_sync("consumer_preference_bool_numbersync_supported");
constinit Capability wpc_mode("consumer_preference_bool_wpc_mode");

}  // namespace

bool is_numbersync_supported() { return number_sync.is_given(HERE); }

bool is_wpc_mode() { return wpc_mode.is_given(HERE); }

}  // namespace msg_consumer::common_util
