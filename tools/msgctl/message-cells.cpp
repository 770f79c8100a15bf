// SPDX-License-Identifier: Apache-2.0
#include "msgctl/message-cells.hpp"

#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

constexpr int delivered = 4;
constexpr int failed = 5;
constexpr int retrieval_needed = 1;
constexpr int retrieval_running = 2;
constexpr int retrieval_failed = 4;

Cell incoming_state(const MessageState& state) {
  if (state.blocked) return {"blocked", Style::Dim};
  switch (state.retrieval) {
    case retrieval_needed:
      return {"to fetch", Style::Yellow};
    case retrieval_running:
      return {"fetching", Style::Yellow};
    case retrieval_failed:
      return {"failed", Style::Red};
    default:
      return state.read ? Cell{"read"} : Cell{"unread", Style::Yellow};
  }
}

Cell outgoing_state(int value) {
  switch (value) {
    case delivered:
      return {delivery(value), Style::Green};
    case failed:
      return {delivery(value), Style::Red};
    default:
      return {delivery(value)};
  }
}

}  // namespace

MessageState state_of(const msg_conversation_view_t& message) {
  return {message.num_6, message.num_5, message.num_18, message.flag_9 != 0, message.flag_19 != 0};
}

const char* sender_in_conversation(const msg_conversation_view_t& message) {
  if (message.num_6 != incoming) return "me";
  const char* name = text_of(message.text_12);
  return *name != '\0' ? name : text_of(message.text_17);
}

Cell state_cell(const MessageState& state) {
  if (state.direction == draft) return {"draft", Style::Dim};
  return state.direction == incoming ? incoming_state(state) : outgoing_state(state.delivery);
}

Style text_style(const MessageState& state) {
  return state.direction == incoming && !state.read ? Style::Bold : Style::Plain;
}

std::string summary(const std::string& subject, const std::string& text, unsigned parts) {
  std::string line = subject;
  if (!subject.empty() && !text.empty()) line += ": ";
  line += text;
  if (parts == 0) return line;
  return line + (line.empty() ? "" : " ") + "[" + std::to_string(parts) + (parts == 1 ? " part]" : " parts]");
}

}  // namespace msgctl
