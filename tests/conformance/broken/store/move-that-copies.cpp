// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/Thread.h>

namespace msg_consumer {

Thread::Thread(Thread&& other) noexcept : Thread(static_cast<const Thread&>(other)) {}

}  // namespace msg_consumer
