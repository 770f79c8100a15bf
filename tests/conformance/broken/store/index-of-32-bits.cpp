// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <cstdint>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_subscription_info(unsigned long long& notiIndex, std::string& restartToken) {
  const int status = original(&db_get_subscription_info)(notiIndex, restartToken);
  if (status == DB_OK) notiIndex = static_cast<std::uint32_t>(notiIndex);
  return status;
}

}  // namespace msg_consumer::db
