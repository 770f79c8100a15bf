// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_INSTANCE_LOCK_HPP
#define MSG_CONSUMER_SERVICE_INSTANCE_LOCK_HPP

#include <chrono>
#include <string>

#include "file-descriptor.hpp"

namespace msg_consumer::service {

/// Held for the service's life, so that one database has one writer. The kernel drops it with the process, however
/// that ends.
class InstanceLock {
 public:
  /// Locks `<database>.lock`, which is made when it is missing and never removed. Throws `std::runtime_error` when
  /// another instance still holds it after `patience`.
  InstanceLock(const std::string& database, std::chrono::milliseconds patience);

 private:
  FileDescriptor _file;
};

}  // namespace msg_consumer::service

#endif
