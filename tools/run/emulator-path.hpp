// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_EMULATOR_PATH_HPP
#define MSG_CONSUMER_RUN_EMULATOR_PATH_HPP

#include <string>

namespace msg_consumer_run {

/// The emulator that comes with this tool, or the one that MSG_CONSUMER_EMULATOR names. Throws `Failure`.
std::string emulator_path();

}  // namespace msg_consumer_run

#endif
