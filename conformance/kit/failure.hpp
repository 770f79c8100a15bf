// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_FAILURE_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_FAILURE_HPP

#include <stdexcept>

namespace msg_consumer::conformance {

/// Nothing can be said about the library: a wrong path, a filler that failed, a program that does not start.
struct CannotCheck : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace msg_consumer::conformance

#endif
