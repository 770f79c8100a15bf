// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_MESSAGE_CELLS_HPP
#define MSGCTL_MESSAGE_CELLS_HPP

// What the tables of messages have in common.

#include <msg-consumer/msg-consumer-record.h>

#include <string>

#include "msgctl/table.hpp"

namespace msgctl {

inline constexpr int incoming = 1;
inline constexpr int draft = 3;

/// The members of a message that make up its state in a table.
struct MessageState {
  int direction = 0;
  int delivery = 0;
  int retrieval = 0;
  bool read = false;
  bool blocked = false;
};

/// The state of a message in its conversation.
MessageState state_of(const msg_conversation_view_t& message);

/// Who wrote a message: people look for the name rather than the number.
const char* sender_in_conversation(const msg_conversation_view_t& message);

/// One word for the state: "unread", "sent", "draft", …
Cell state_cell(const MessageState& state);

/// Unread messages stand out.
Style text_style(const MessageState& state);

/// A message in one line: subject, text, and how many parts it has besides.
std::string summary(const std::string& subject, const std::string& text, unsigned parts);

}  // namespace msgctl

#endif
