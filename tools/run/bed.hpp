// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_BED_HPP
#define MSG_CONSUMER_RUN_BED_HPP

#include <filesystem>
#include <string>
#include <string_view>

#include "run/options.hpp"

namespace msg_consumer_run {

/// The folder that holds everything a run has on disk. Making it is a step of its own, so that a second process knows
/// of it before there is anything to remove.
class Bed {
 public:
  /// Chooses a place. Throws `Failure` where there is none.
  Bed();

  [[nodiscard]] const std::filesystem::path& folder() const { return _folder; }
  [[nodiscard]] std::string file(std::string_view name) const { return (_folder / name).string(); }
  [[nodiscard]] std::string socket() const { return file("bus"); }
  [[nodiscard]] std::string log() const { return file("emulator.log"); }
  [[nodiscard]] std::string bus_configuration() const { return file("bus.conf"); }

  /// Makes the folder, with the store to begin with, for an emulator that is this program. Throws `Failure`.
  void make(const Options& options, const std::string& emulator) const;

  /// Has this process, and so what it starts, use the bus and the store of this folder and no others.
  void enter(const Options& options) const;

  /// Removes the folder, or only what is of no use without processes. Says what stands in the way.
  void remove(bool keep) const noexcept;

 private:
  std::filesystem::path _folder;
};

}  // namespace msg_consumer_run

#endif
