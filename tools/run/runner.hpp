// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_RUNNER_HPP
#define MSG_CONSUMER_RUN_RUNNER_HPP

#include "run/options.hpp"

namespace msg_consumer_run {

/// Runs the command through a keeper; returns what to exit with. `argc` and `argv` are this process's own, and of no
/// use in the keeper afterwards. Throws `Failure`.
int run(const Options& options, int argc, char** argv);

}  // namespace msg_consumer_run

#endif
