// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_PROCESS_TREE_HPP
#define MSG_CONSUMER_RUN_PROCESS_TREE_HPP

#include <sys/types.h>

#include <chrono>
#include <set>

namespace msg_consumer_run {

/// The processes that this one has started, directly or through others. Needs `PR_SET_CHILD_SUBREAPER`: with it those
/// whose parents have ended count too, also in sessions of their own.
std::set<pid_t> descendants();

/// Ends all descendants but `spared` and theirs: asks, waits for `patience`, then kills.
void end_descendants(const std::set<pid_t>& spared, std::chrono::milliseconds patience);

}  // namespace msg_consumer_run

#endif
