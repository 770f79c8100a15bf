// SPDX-License-Identifier: Apache-2.0
#include "msgctl/record-words.hpp"

#include <array>
#include <ctime>
#include <initializer_list>

namespace msgctl {
namespace {

// The store may be newer than this tool, so a number without a word is not an error.
std::string word(int value, std::initializer_list<const char*> words, int first = 0) {
  const int index = value - first;
  if (value < first || index >= static_cast<int>(words.size())) return "unknown-" + std::to_string(value);
  return *(words.begin() + index);
}

std::string formatted(const std::tm& time, const char* format) {
  std::array<char, 64> buffer{};
  return {buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &time)};
}

std::tm local(std::time_t moment) {
  std::tm time{};
  localtime_r(&moment, &time);
  return time;
}

}  // namespace

std::string message_type(int value) { return word(value, {"sms", "mms", "group-chat"}, 1); }

std::string direction(int value) { return word(value, {"incoming", "outgoing", "draft"}, 1); }

std::string delivery(int value) { return word(value, {"none", "queued", "sending", "sent", "delivered", "failed"}); }

std::string delivery_report(int value) { return word(value, {"none", "requested", "received"}); }

std::string retrieval(int value) { return word(value, {"none", "needed", "running", "done", "failed"}); }

std::string address_kind(int value) { return word(value, {"phone", "email", "chat"}, 1); }

std::string address_role(int value) { return word(value, {"any", "from", "to", "cc"}); }

std::string content_kind(int value) { return word(value, {"text", "image", "video", "audio", "other"}, 1); }

std::string transfer(int value) { return word(value, {"none", "waiting", "running", "done", "failed"}); }

std::string sync_state(int value) { return word(value, {"in-step", "required", "running", "failed"}); }

std::string download_state(int value) { return word(value, {"none", "required", "running", "done", "failed"}); }

std::string local_time(int seconds) { return formatted(local(seconds), "%Y-%m-%d %H:%M"); }

std::string clock_time() { return formatted(local(std::time(nullptr)), "%H:%M:%S"); }

std::string utc_time(std::int64_t seconds) {
  const std::time_t moment = seconds;
  std::tm time{};
  gmtime_r(&moment, &time);
  return formatted(time, "%Y-%m-%dT%H:%M:%SZ");
}

}  // namespace msgctl
