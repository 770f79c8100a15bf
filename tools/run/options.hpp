// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_OPTIONS_HPP
#define MSG_CONSUMER_RUN_OPTIONS_HPP

#include <optional>
#include <string>
#include <vector>

namespace msg_consumer_run {

/// What the user asked for.
struct Options {
  std::string scenario;  ///< empty for none
  std::string store;     ///< the store to copy, empty to begin with an empty one
  std::string files;     ///< the attachments to copy, empty for none
  bool exchange = false;
  bool keep = false;
  std::vector<std::string> command;
};

/// Reads the command line and looks whether the files it names can be used. Nothing when everything is done already,
/// as after --help. Throws `Failure`.
std::optional<Options> read_options(int argc, char** argv);

}  // namespace msg_consumer_run

#endif
