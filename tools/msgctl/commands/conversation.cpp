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

Row row_of(const msg_conversation_view_t& message) {
  const MessageState state = state_of(message);
  return {{std::to_string(message.msg_id)},
          {local_time(message.time_sec)},
          {sender_in_conversation(message)},
          state_cell(state),
          {summary(text_of(message.text_11), text_of(message.text_3), message.num_13), text_style(state)}};
}

const ListView<msg_conversation_view_t>& view() {
  static const ListView<msg_conversation_view_t> instance = {"conversation",
                                                             "No messages.",
                                                             {{"ID", Align::Right},
                                                              {"TIME", Align::Left, 0, 3},
                                                              {"FROM", Align::Left, 10, 1},
                                                              {"STATE", Align::Left, 0, 2},
                                                              {"TEXT", Align::Left, 12}},
                                                             row_of,
                                                             json_of};
  return instance;
}

}  // namespace

Action configure_conversation(CLI::App& app) {
  auto thread_id = std::make_shared<int>();
  app.add_option("THREAD", *thread_id, "The thread")->required()->check(msgctl::thread_id());
  return [thread_id](Context& context) { print_list(context, view(), get_conversation(*thread_id)); };
}

}  // namespace msgctl
