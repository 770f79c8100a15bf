// SPDX-License-Identifier: Apache-2.0
#include "change.hpp"

#include <cstddef>
#include <nlohmann/json.hpp>

namespace msg_consumer::service {
namespace {

constexpr std::size_t MAX_IDS = 1000;

nlohmann::ordered_json ids_or_null(const std::vector<int>& ids) {
  return ids.size() > MAX_IDS ? nlohmann::ordered_json() : nlohmann::ordered_json(ids);
}

}  // namespace

std::string signal_text(const Change& change, std::int64_t revision) {
  nlohmann::ordered_json text = {
      {"event", change.event},
      {"revision", revision},
      {"message_ids", ids_or_null(change.message_ids)},
      {"thread_ids", ids_or_null(change.thread_ids)},
  };
  if (change.status) {
    text["status"] = *change.status;
  }
  return text.dump();
}

}  // namespace msg_consumer::service
