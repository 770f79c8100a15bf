// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_INPUT_HPP
#define MSGCTL_INPUT_HPP

#include <string>

namespace msgctl {

/// Everything that the standard input holds, up to 8 MiB; a longer text is a Failure.
std::string read_standard_input();

/// Everything that a file holds, with the same limit; "-" stands for the standard input.
std::string read_input(const std::string& path);

/// Throws a Failure unless `text`, which is `what` ("the text"), can be sent.
void check_sendable(const std::string& text, const char* what);

}  // namespace msgctl

#endif
