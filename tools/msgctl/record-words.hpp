// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_RECORD_WORDS_HPP
#define MSGCTL_RECORD_WORDS_HPP

// Words for the numbers of the public records, and the forms in which their texts and times are shown and read.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace msgctl {

/// The words for consecutive numbers of one meaning.
class Vocabulary {
 public:
  template <typename... Words>
  constexpr explicit Vocabulary(int first, Words... words)
      : _first(first), _count(sizeof...(words)), _words{words...} {}

  /// The word for a number. The store may be newer than this tool, so there is one for every number: "unknown-7".
  std::string operator()(int value) const;

  /// The number for a word that the above made; none for another text.
  [[nodiscard]] std::optional<int> number(std::string_view word) const;

  [[nodiscard]] int first() const { return _first; }

 private:
  int _first;
  std::size_t _count;
  std::array<std::string_view, 6> _words;
};

inline constexpr Vocabulary message_type(1, "sms", "mms", "group-chat");
inline constexpr Vocabulary direction(1, "incoming", "outgoing", "draft");
inline constexpr Vocabulary delivery(0, "none", "queued", "sending", "sent", "delivered", "failed");
inline constexpr Vocabulary delivery_report(0, "none", "requested", "received");
inline constexpr Vocabulary retrieval(0, "none", "needed", "running", "done", "failed");
inline constexpr Vocabulary sub_type(0, "plain", "notification", "report", "blocked");
inline constexpr Vocabulary address_kind(1, "phone", "email", "chat");
inline constexpr Vocabulary address_role(0, "any", "from", "to", "cc");
inline constexpr Vocabulary content_kind(1, "text", "image", "video", "audio", "other");
inline constexpr Vocabulary transfer(0, "none", "waiting", "running", "done", "failed");
inline constexpr Vocabulary sync_state(0, "in-step", "required", "running", "failed");
inline constexpr Vocabulary download_state(0, "none", "required", "running", "done", "failed");

/// "2026-03-01 09:30" in local time.
std::string local_time(int seconds);

/// The time of day now, "09:30:15", in local time.
std::string clock_time();

/// "2026-03-01T08:30:00Z".
std::string utc_time(std::int64_t seconds);

/// "2026-03-01T08:30:00.125Z".
std::string utc_time_ms(std::int64_t milliseconds);

/// Reads a date as ISO 8601 has it, with or without a time of day, as milliseconds since 1970. It is local time where
/// it names no zone. None when it is something else.
std::optional<std::int64_t> milliseconds_of(const std::string& date);

/// An empty text for NULL.
inline const char* text_of(const char* text) { return text != nullptr ? text : ""; }

}  // namespace msgctl

#endif
