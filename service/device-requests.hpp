// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_DEVICE_REQUESTS_HPP
#define MSG_CONSUMER_SERVICE_DEVICE_REQUESTS_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "schema/sqlite.hpp"

namespace msg_consumer::service {

struct DeviceRequest {
  std::int64_t id;
  std::string request;
  int argument;
  std::int64_t time_ms;
};

/// What was asked of the paired device; the newest requests are kept for whoever looks at them.
class DeviceRequests {
 public:
  static constexpr std::int64_t CAPACITY = 1000;

  explicit DeviceRequests(sqlite3* database);

  void add(std::string_view request, int argument, std::int64_t time_ms);
  /// The requests with a greater id, the oldest first.
  std::vector<DeviceRequest> after(std::int64_t id, std::size_t limit);

 private:
  schema::Statement _add;
  schema::Statement _trim;
  schema::Statement _after;
};

}  // namespace msg_consumer::service

#endif
