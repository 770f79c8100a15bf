// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/ThreadManager.h>
#include <msg-consumer/ipc/IPCProxy.h>
#include <msg-consumer/msg-consumer-version.h>

#include <iostream>
#include <vector>

int main() {
  std::vector<msg_consumer::Thread> threads;
  const int status = msg_consumer::ThreadManager().getAllThreads(threads);
  threads.emplace_back();
  std::cout << MSG_CONSUMER_VERSION << " threads " << status << '\n';
  return msg_consumer::IPCProxy::getInstance() == nullptr ? 1 : 0;
}
