// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_CHANGE_HPP
#define MSGCTL_CHANGE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace msgctl {

/// The ids that an event names; none when there are too many to name.
using EventIds = std::optional<std::vector<std::int64_t>>;

/// What an event tells of a committed change.
struct Change {
  std::string event;
  std::int64_t revision = 0;
  EventIds message_ids;
  EventIds thread_ids;
};

/// Reads the text of an event; none when it is not what the service documents.
std::optional<Change> parse_change(const char* text);

/// "12, 13", or "many".
std::string words_of(const EventIds& ids);

/// Revisions that were passed over, first and last.
struct RevisionGap {
  std::int64_t first;
  std::int64_t last;
};

/// Finds out from the revisions, which grow by one, when an event was missed.
class RevisionTracker {
 public:
  /// Takes note of a revision. A lower one than before begins a new count: the store was replaced.
  std::optional<RevisionGap> note(std::int64_t revision);

 private:
  std::optional<std::int64_t> _last;
};

}  // namespace msgctl

#endif
