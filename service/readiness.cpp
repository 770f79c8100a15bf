// SPDX-License-Identifier: Apache-2.0
#include "readiness.hpp"

#include <msg-consumer-platform/preference.h>
#include <msg-consumer-platform/logging.hpp>

#include <stdexcept>
#include <string>

namespace msg_consumer::service {
namespace {

constexpr const char* STATUS_KEY = "consumer_preference_int_consumer_status";

}  // namespace

Readiness::Readiness(const InstanceLock& /*lock*/) {
  const int result = preference_set_int(STATUS_KEY, 1);
  if (result != 0) {
    throw std::runtime_error("cannot write the preference that says the service is ready: (" + std::to_string(result) +
                             ")");
  }
}

Readiness::~Readiness() {
  const int result = preference_set_int(STATUS_KEY, 0);
  if (result != 0) {
    LOG_ERROR(HERE, "[ERROR] preference_set_int() failed: (%d)", result);
  }
}

}  // namespace msg_consumer::service
