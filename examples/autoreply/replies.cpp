// SPDX-License-Identifier: Apache-2.0
#include "replies.hpp"

#include <algorithm>
#include <iostream>
#include <vector>

namespace autoreply {
namespace {

using msg_consumer::Conversation;
using msg_consumer::ListCondition;
using msg_consumer::Message;

// What the records' headers say.
constexpr int incoming = 1;
constexpr int outgoing = 2;
constexpr int delivery_failed = 5;
constexpr int sms = 1;
constexpr int oldest_first = 0;

constexpr int success = 0;
constexpr int no_reply = -4;
constexpr int longest_resend = 3;

// Numbers only: what somebody writes is nobody else's business.
void report(const char* what, int message_id, int result) {
  std::cerr << what << " message " << message_id << ": result " << result << '\n';
}

}  // namespace

void Replies::work() {
  ListCondition unread;
  unread.flag_x = oldest_first;
  unread.flag_y = 1;
  unread.num_type = sms;
  std::vector<Message> messages;
  // Nothing found and a store that cannot be read come to the same here: there is nothing to do at present.
  _messages.getMessages(unread, messages);
  for (const Message& message : messages) {
    if (message.num_e == incoming && message.flag_l == 0) answer(message);
  }
  resend_failed();
}

void Replies::answer(const Message& message) {
  if (!is_answered(message)) {
    int reply_id = 0;
    const int result = _messages.sendSMS(message.num_b, message.str_p, _text, message.num_h, reply_id);
    // Without a reply it stays open whether the answer was sent. The next round looks.
    if (result == no_reply) return report("no word about the answer to", message.id, result);
    if (result != success) return report("cannot answer", message.id, result);
    std::cout << "answered message " << message.id << " with message " << reply_id << std::endl;
  }
  const int result = _messages.readMessage(message.id);
  if (result != success) report("cannot mark", message.id, result);
}

bool Replies::is_answered(const Message& message) {
  std::vector<Conversation> conversation;
  _messages.getConversations(message.num_b, conversation);
  return std::any_of(conversation.begin(), conversation.end(), [&](const Conversation& other) {
    return other.num_e == outgoing && other.id > message.id && other.str_d == _text;
  });
}

void Replies::resend_failed() {
  ListCondition ours;
  ours.keyword = _text;
  std::vector<Message> messages;
  _messages.getMessages(ours, messages);
  for (const Message& message : messages) {
    if (message.num_e != outgoing || message.num_f != delivery_failed || message.str_d != _text) continue;
    if (_attempts[message.id] >= longest_resend) continue;
    ++_attempts[message.id];
    const int result = _messages.resendMessage(message.id);
    report(result == success ? "sent again:" : "cannot resend", message.id, result);
  }
}

}  // namespace autoreply
