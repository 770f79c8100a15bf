// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>
#include <msg-consumer/msg-consumer-record.h>

#include <iostream>
#include <vector>

int main() {
  std::vector<msg_consumer::Thread> threads;
  const msg_thread_view_t view{};
  std::cout << "common threads " << msg_consumer::db::db_get_threads(threads) << ' ' << (view.text_2 == nullptr)
            << '\n';
}
