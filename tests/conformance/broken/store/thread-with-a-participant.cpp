// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/Thread.h>

namespace msg_consumer {

Thread::Thread() : num_k(1) {}

}  // namespace msg_consumer
