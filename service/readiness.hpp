// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_READINESS_HPP
#define MSG_CONSUMER_SERVICE_READINESS_HPP

namespace msg_consumer::service {

class InstanceLock;

/// Tells applications that the service is ready, as long as it lives. Only whoever holds the instance lock may, so
/// that an ending instance never clears its successor's.
class Readiness {
 public:
  /// Throws `std::runtime_error` when the preference cannot be written.
  explicit Readiness(const InstanceLock& lock);
  ~Readiness();
  Readiness(const Readiness&) = delete;
  Readiness& operator=(const Readiness&) = delete;
};

}  // namespace msg_consumer::service

#endif
