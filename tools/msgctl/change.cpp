// SPDX-License-Identifier: Apache-2.0
#include "msgctl/change.hpp"

#include <nlohmann/json.hpp>

namespace msgctl {
namespace {

EventIds ids_of(const nlohmann::json& value) {
  if (value.is_null()) return std::nullopt;
  return value.get<std::vector<std::int64_t>>();
}

}  // namespace

std::optional<Change> parse_change(const char* text) {
  try {
    const auto object = nlohmann::json::parse(text);
    return Change{object.at("event").get<std::string>(), object.at("revision").get<std::int64_t>(),
                  ids_of(object.at("message_ids")), ids_of(object.at("thread_ids"))};
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  }
}

std::string words_of(const EventIds& ids) {
  if (!ids) return "many";
  std::string words;
  for (const std::int64_t id : *ids) {
    if (!words.empty()) words += ", ";
    words += std::to_string(id);
  }
  return words;
}

}  // namespace msgctl
