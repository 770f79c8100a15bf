// SPDX-License-Identifier: Apache-2.0
#include "locations.hpp"

#include <cstdlib>

#include "schema/schema.hpp"

namespace msg_consumer::service {

Locations locations() {
  const char* exchange = secure_getenv("MSG_CONSUMER_EXCHANGE");
  return {.database = schema::database_path(),
          .files = schema::attachments_path(),
          .exchange = exchange != nullptr ? exchange : ""};
}

}  // namespace msg_consumer::service
