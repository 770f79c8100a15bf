// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_COMPLETION_HPP
#define MSGCTL_COMPLETION_HPP

#include <string>

#include "msgctl/outline.hpp"

namespace msgctl {

// The completion of msgctl's commands, options and values, as a script for a shell.
std::string bash_completion(const Outline& root);
std::string zsh_completion(const Outline& root);
std::string fish_completion(const Outline& root);

}  // namespace msgctl

#endif
