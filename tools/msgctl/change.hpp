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

}  // namespace msgctl

#endif
