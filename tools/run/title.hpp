// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_TITLE_HPP
#define MSG_CONSUMER_RUN_TITLE_HPP

namespace msg_consumer_run {

/// Gives this process another name in lists of processes. Whoever kills msg-consumer-run by its name must not hit the
/// process that cleans up after it.
void set_title(int argc, char** argv, const char* title);

}  // namespace msg_consumer_run

#endif
