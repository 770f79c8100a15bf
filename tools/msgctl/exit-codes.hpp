// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_EXIT_CODES_HPP
#define MSGCTL_EXIT_CODES_HPP

#include <array>

#include "msgctl/failure.hpp"

namespace msgctl {

struct ExitCodeMeaning {
  ExitCode code;
  const char* meaning;
};

/// What help and manual say of the exit codes.
inline constexpr std::array<ExitCodeMeaning, 7> exit_codes = {{
    {ExitCode::Ok, "done"},
    {ExitCode::Failed, "failed"},
    {ExitCode::Usage, "the command line was not understood"},
    {ExitCode::NotFound, "no such message, thread or other record"},
    {ExitCode::Unreachable, "the service or the message bus cannot be reached"},
    {ExitCode::Refused, "refused: by the service, or for an invalid argument"},
    {ExitCode::Unsupported, "not supported on this device, or by this service"},
}};

}  // namespace msgctl

#endif
