// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_MANUAL_HPP
#define MSGCTL_MANUAL_HPP

#include <string>

#include "msgctl/outline.hpp"

namespace msgctl {

/// A manual page in roff: `prose`, in which the lines @OPTIONS@, @COMMANDS@ and @EXIT_STATUS@ are replaced by what the
/// commands themselves say, and @VERSION@ by the version.
std::string manual(const Outline& root, const std::string& prose);

}  // namespace msgctl

#endif
