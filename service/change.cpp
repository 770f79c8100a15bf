// SPDX-License-Identifier: Apache-2.0
#include "change.hpp"

#include <cstddef>

namespace msg_consumer::service {
namespace {

constexpr std::size_t MAX_IDS = 1000;

std::string ids_or_null(const std::vector<int>& ids) {
  if (ids.size() > MAX_IDS) {
    return "null";
  }
  std::string text = "[";
  for (const int id : ids) {
    text.append(text.size() > 1 ? "," : "").append(std::to_string(id));
  }
  return text += ']';
}

}  // namespace

// By hand, for there are only numbers and names of ours: the destructor of a JSON library's value needs memory, and
// ends the process when there is none.
std::string signal_text(const Change& change, std::int64_t revision) {
  std::string text = R"({"event":")";
  text.append(change.event).append(R"(","revision":)").append(std::to_string(revision));
  text.append(R"(,"message_ids":)").append(ids_or_null(change.message_ids));
  text.append(R"(,"thread_ids":)").append(ids_or_null(change.thread_ids));
  if (change.status) {
    text.append(R"(,"status":)").append(std::to_string(*change.status));
  }
  return text += '}';
}

}  // namespace msg_consumer::service
