// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <cstddef>

#include "original.hpp"

namespace msg_consumer::db {

using test::original;

int db_get_threads(std::vector<Thread>& list) {
  const auto before = static_cast<std::ptrdiff_t>(list.size());
  const int status = original(&db_get_threads)(list);
  std::reverse(list.begin() + before, list.end());
  return status;
}

}  // namespace msg_consumer::db
