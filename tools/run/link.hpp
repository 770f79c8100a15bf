// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_RUN_LINK_HPP
#define MSG_CONSUMER_RUN_LINK_HPP

#include <optional>
#include <utility>

#include "run/descriptor.hpp"

namespace msg_consumer_run {

/// What the runner and its keeper tell each other.
struct Note {
  enum class Kind : int {
    Signal,    ///< to the keeper: the runner was sent the signal `value`
    Finished,  ///< to the runner: all is removed, and `value` is what to exit with
  };
  Kind kind;
  int value;
  bool from_terminal;  ///< the command, being in the same process group, has the signal already
};

/// One end of the link. It also tells each side of the other's death, however sudden.
class Link {
 public:
  explicit Link(Descriptor socket) : _socket(std::move(socket)) {}

  [[nodiscard]] int descriptor() const { return _socket.get(); }
  void send(const Note& note) const noexcept;
  /// Waits for a note; none when the other side is gone.
  [[nodiscard]] std::optional<Note> receive() const noexcept;
  void close() { _socket.reset(); }

 private:
  Descriptor _socket;
};

/// Both ends. Throws `Failure`.
std::pair<Link, Link> make_link();

}  // namespace msg_consumer_run

#endif
