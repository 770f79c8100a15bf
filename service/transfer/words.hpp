// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_WORDS_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_WORDS_HPP

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace msg_consumer::service::transfer {

/// The words of the format for consecutive numbers of one meaning. There is one for every number: "unknown-7".
class Words {
 public:
  template <typename... Texts>
  constexpr explicit Words(int first, Texts... texts) : _first(first), _count(sizeof...(texts)), _texts{texts...} {}

  std::string of(int number) const {
    const std::int64_t index = std::int64_t{number} - _first;
    if (index < 0 || index >= _count) {
      return std::string(UNKNOWN) + std::to_string(number);
    }
    return std::string(_texts.at(static_cast<std::size_t>(index)));
  }

  std::optional<int> number(std::string_view text) const {
    for (int index = 0; index < _count; ++index) {
      if (_texts.at(static_cast<std::size_t>(index)) == text) {
        return _first + index;
      }
    }
    if (!text.starts_with(UNKNOWN)) {
      return std::nullopt;
    }
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + UNKNOWN.size(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
  }

 private:
  static constexpr std::string_view UNKNOWN = "unknown-";

  int _first;
  int _count;
  std::array<std::string_view, 6> _texts;
};

inline constexpr Words MESSAGE_TYPE(1, "sms", "mms", "group-chat");
inline constexpr Words MESSAGE_DIRECTION(1, "incoming", "outgoing", "draft");
inline constexpr Words MESSAGE_DELIVERY(0, "none", "queued", "sending", "sent", "delivered", "failed");
inline constexpr Words DELIVERY_REPORT(0, "none", "requested", "received");
inline constexpr Words MMS_RETRIEVAL(0, "none", "needed", "running", "done", "failed");
inline constexpr Words SUB_TYPE(0, "plain", "notification", "report", "blocked");
inline constexpr Words ADDRESS_KIND(1, "phone", "email", "chat");
inline constexpr Words ADDRESS_ROLE(0, "any", "from", "to", "cc");
inline constexpr Words PART_KIND(1, "text", "image", "video", "audio", "other");
inline constexpr Words PART_TRANSFER(0, "none", "waiting", "running", "done", "failed");
inline constexpr Words SYNC_STATE(0, "in-step", "required", "running", "failed");
inline constexpr Words DOWNLOAD_STATE(0, "none", "required", "running", "done", "failed");

}  // namespace msg_consumer::service::transfer

#endif
