// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_HELP_HPP
#define MSGCTL_HELP_HPP

#include <cstddef>
#include <string>

#include "msgctl/outline.hpp"

namespace msgctl {

/// "msgctl send [OPTIONS] TEXT".
std::string usage_of(const Outline& outline);

/// The text behind --help, broken to `width` columns.
std::string help_of(const Outline& outline, std::size_t width);

}  // namespace msgctl

#endif
