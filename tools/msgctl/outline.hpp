// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_OUTLINE_HPP
#define MSGCTL_OUTLINE_HPP

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace msgctl {

/// An option, or an argument that is told by its position.
struct OptionOutline {
  std::string name;   ///< "--to", or "TEXT"
  std::string value;  ///< what is to be given: "ADDRESS", "auto|always|never"; empty for a flag
  std::string description;
  std::string group;  ///< "At least one of", for one that belongs to a choice
  bool positional = false;
  bool required = false;
  bool repeats = false;

  /// The words to choose from; none where any value will do.
  [[nodiscard]] std::vector<std::string> choices() const;
};

/// A command or a group of commands, as the parser knows it: what help, manual and completion are made from.
struct Outline {
  std::string name;  ///< with the groups it stands in; empty for msgctl itself
  std::string summary;
  std::string example;
  bool hidden = false;
  std::vector<OptionOutline> options;
  std::vector<Outline> commands;
};

Outline outline_of(const CLI::App& app);

/// The outline as one JSON document.
std::string json_of(const Outline& outline);

}  // namespace msgctl

#endif
