// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/message-cells.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

// What the conversation shows of a message's sender: people look for who wrote, not for which number did.
const char* sender_of(const msg_conversation_view_t& message) {
  if (message.num_6 != incoming) return "me";
  const char* name = text_of(message.text_12);
  return *name != '\0' ? name : text_of(message.text_17);
}

Row row_of(const msg_conversation_view_t& message) {
  const MessageState state = {message.num_6, message.num_5, message.num_18, message.flag_9 != 0, message.flag_19 != 0};
  return {{std::to_string(message.msg_id)},
          {local_time(message.time_sec)},
          {sender_of(message)},
          state_cell(state),
          {summary(text_of(message.text_11), text_of(message.text_3), message.num_13), text_style(state)}};
}

const ListView<msg_conversation_view_t>& view() {
  static const ListView<msg_conversation_view_t> instance = {
      "conversation",
      "No messages.",
      {{"ID", Align::Right}, {"TIME"}, {"FROM", Align::Left, 10}, {"STATE"}, {"TEXT", Align::Left, 16}},
      row_of,
      json_of};
  return instance;
}

}  // namespace

Action configure_conversation(CLI::App& app) {
  auto thread_id = std::make_shared<int>();
  app.add_option("THREAD", *thread_id, "The thread")->required()->check(id_check());
  return [thread_id](Context& context) { print_list(context, view(), get_conversation(*thread_id)); };
}

}  // namespace msgctl
