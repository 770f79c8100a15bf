// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_KIT_STATE_HPP
#define MSG_CONSUMER_CONFORMANCE_KIT_STATE_HPP

#include <filesystem>
#include <optional>
#include <string>

#include "kit/checks.hpp"

namespace msg_consumer::conformance {

/// Puts the library's data into the states that sentences need, with the filler that its maker supplies.
class State {
 public:
  /// An empty `filler` makes no state.
  State(std::string filler, std::filesystem::path folder, const Checks& checks);

  /// What the library needs in its environment to find the data; nothing when the state cannot be made here. Throws
  /// `CannotCheck` when the filler fails.
  std::optional<Environment> prepare(const ListedSentence& sentence);

  /// Why there is no state.
  [[nodiscard]] const std::string& reason() const { return _reason; }

 private:
  std::optional<Environment> fill(const std::string& state);

  std::string _filler;
  std::filesystem::path _folder;
  const Checks& _checks;
  std::string _reason;
  std::string _current;
  std::optional<Environment> _environment;
  int _count = 0;
};

}  // namespace msg_consumer::conformance

#endif
