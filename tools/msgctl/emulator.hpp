// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_EMULATOR_HPP
#define MSGCTL_EMULATOR_HPP

#include <string>

namespace msgctl {

// The emulator stands in the service's place and plays the world around the device. Each function throws a Failure:
// also where it is the plain service that answers.

/// Has a step performed, one JSON object; answers its result, another.
std::string perform_step(const std::string& step);

/// What is armed, held and counted, as a JSON object.
std::string get_emulator_state();

/// Forgets all faults, modes and counters; the store stays.
void reset_emulator();

}  // namespace msgctl

#endif
