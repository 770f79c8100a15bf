// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_SERVICE_PATH_HPP
#define MSGCTL_SERVICE_PATH_HPP

#include <string>

namespace msgctl {

// Paths as the service needs them: it does not know in which folder this tool was called. The service checks them
// too, but its answer is a status without words.

/// The path of a file that is there and can be handed over.
std::string path_of_existing_file(const std::string& path);

/// The path of a file that is not there yet.
std::string path_of_new_file(const std::string& path);

}  // namespace msgctl

#endif
