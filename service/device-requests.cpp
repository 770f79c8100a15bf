// SPDX-License-Identifier: Apache-2.0
#include "device-requests.hpp"

namespace msg_consumer::service {

DeviceRequests::DeviceRequests(sqlite3* database)
    : _add(database, "INSERT INTO device_request (request, argument, time_ms) VALUES (?1, ?2, ?3)"),
      _trim(database, "DELETE FROM device_request WHERE id <= (SELECT MAX(id) FROM device_request) - ?1") {}

void DeviceRequests::add(std::string_view request, int argument, std::int64_t time_ms) {
  _add.bind(1, request).bind(2, argument).bind(3, time_ms).run();
  _trim.bind(1, CAPACITY).run();
}

}  // namespace msg_consumer::service
