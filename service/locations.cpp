// SPDX-License-Identifier: Apache-2.0
#include "locations.hpp"

#include <cstdlib>

#include "schema/schema.hpp"

namespace msg_consumer::service {
namespace {

std::string from_environment(const char* variable, const char* otherwise) {
  const char* value = secure_getenv(variable);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

}  // namespace

Locations locations() {
  return {.database = schema::database_path(),
          .files = from_environment("MSG_CONSUMER_FILES", "/var/lib/msg-consumer/files"),
          .exchange = from_environment("MSG_CONSUMER_EXCHANGE", "")};
}

}  // namespace msg_consumer::service
