// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_SEGMENTS_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_SEGMENTS_HPP

#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Long SMS messages of which some segments have arrived: in any order, and some of them twice.
class Segments {
 public:
  /// The whole message, when this was the segment that it lacked. A segment that has come before is passed over, also
  /// after its message was complete; one with another text begins a new message. Throws `InvalidStep` when too many
  /// messages wait.
  std::optional<Receive> add(const Receive& segment);
  void clear() {
    _waiting.clear();
    _complete.clear();
  }
  Json state() const;

 private:
  /// Sender, reference and number of segments.
  using Key = std::tuple<std::string, int, int>;
  using Texts = std::map<int, std::string>;

  std::map<Key, Texts> _waiting;
  std::map<Key, Texts> _complete;
};

}  // namespace msg_consumer::service::emulator

#endif
