// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_CHANGE_HPP
#define MSG_CONSUMER_SERVICE_CHANGE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace msg_consumer::service {

inline constexpr const char* STORAGE_CHANGED = "storage_changed";
inline constexpr const char* CONTENT_CHANGED = "content_changed";
inline constexpr const char* GROUPCHAT_STATE_CHANGED = "groupchat_state_changed";
inline constexpr const char* STORE_MESSAGE_RESULT = "store_message_result";

/// What one transaction did to the store.
struct Change {
  const char* signal = STORAGE_CHANGED;
  const char* event = "changed";
  std::vector<int> message_ids = {};
  std::vector<int> thread_ids = {};
  std::optional<int> status = {};  ///< why it was refused, where the event says that
};

/// A committed change, as it is told to the world.
struct Announcement {
  const char* signal;
  std::string body;
};

/// The text that a change's signal carries: a JSON object. Where there would be more than a thousand ids stands null.
std::string signal_text(const Change& change, std::int64_t revision);

}  // namespace msg_consumer::service

#endif
