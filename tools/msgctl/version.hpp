// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_VERSION_HPP
#define MSGCTL_VERSION_HPP

namespace msgctl {

/// The version of this tool, which is that of the library it comes with.
inline constexpr const char* version = MSGCTL_VERSION;

}  // namespace msgctl

#endif
