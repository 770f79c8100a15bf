// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_SPAWN_HPP
#define MSG_CONSUMER_RUN_SPAWN_HPP

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace msg_consumer_run {

/// Runs `body` in a child process; its result is what the child exits with. This process must have one thread only.
/// Throws `Failure`.
pid_t spawn(const std::function<int()>& body);

/// Becomes the program `arguments[0]`, looked up in PATH. Comes back with what to exit with, after saying why.
int become(const std::vector<std::string>& arguments);

/// In a child: ends it when its parent dies, whatever else happens.
void die_with(pid_t parent);

/// In a child: makes it a helper of this tool's own, which shares nothing with the command: it reads nothing, and
/// writes to these.
void detach(int standard_output, int standard_error);

/// How a process ended, as a shell tells it.
int exit_status_of(int wait_status);

/// The same in words.
std::string words_of_end(int wait_status);

}  // namespace msg_consumer_run

#endif
