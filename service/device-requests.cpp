// SPDX-License-Identifier: Apache-2.0
#include "device-requests.hpp"

namespace msg_consumer::service {

DeviceRequests::DeviceRequests(sqlite3* database)
    : _add(database, "INSERT INTO device_request (request, argument, time_ms) VALUES (?1, ?2, ?3)"),
      _trim(database, "DELETE FROM device_request WHERE id <= (SELECT MAX(id) FROM device_request) - ?1"),
      _after(database, "SELECT id, request, argument, time_ms FROM device_request WHERE id > ?1 ORDER BY id LIMIT ?2") {
}

void DeviceRequests::add(std::string_view request, int argument, std::int64_t time_ms) {
  _add.bind(1, request).bind(2, argument).bind(3, time_ms).run();
  _trim.bind(1, CAPACITY).run();
}

std::vector<DeviceRequest> DeviceRequests::after(std::int64_t id, std::size_t limit) {
  const schema::ResetAtExit reset(_after);
  _after.bind(1, id).bind(2, static_cast<std::int64_t>(limit));
  std::vector<DeviceRequest> requests;
  while (_after.step()) {
    requests.push_back({.id = _after.integer(0),
                        .request = std::string(_after.text(1)),
                        .argument = static_cast<int>(_after.integer(2)),
                        .time_ms = _after.integer(3)});
  }
  return requests;
}

}  // namespace msg_consumer::service
