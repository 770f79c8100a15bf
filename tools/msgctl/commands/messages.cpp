// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/message-cells.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

// The other side of a message: who sent it, or everybody it goes to.
std::string correspondents(const msg_message_item_t& message) {
  if (message.num_5 == incoming) return text_of(message.text_18);
  std::string joined;
  for (const GSList* node = message.address_list; node != nullptr; node = node->next) {
    const auto* address = static_cast<const msg_address_item_t*>(node->data);
    if (address == nullptr || address->flag_4 != 0) continue;
    if (!joined.empty()) joined += ", ";
    joined += text_of(address->address);
  }
  return joined;
}

Row row_of(const msg_message_item_t& message) {
  const MessageState state = {message.num_5, message.num_6, message.num_14, message.flag_8 != 0, message.flag_15 != 0};
  return {{std::to_string(message.msg_id)},
          {std::to_string(message.num_4)},
          {local_time(message.time_sec)},
          {message.num_5 == incoming ? "from" : "to"},
          {correspondents(message)},
          state_cell(state),
          {summary(text_of(message.text_17), text_of(message.text_3), g_slist_length(message.content_list)),
           text_style(state)}};
}

const ListView<msg_message_item_t>& view() {
  static const ListView<msg_message_item_t> instance = {"messages",
                                                        "No messages.",
                                                        {{"ID", Align::Right},
                                                         {"THREAD", Align::Right, 0, 5},
                                                         {"TIME", Align::Left, 0, 4},
                                                         {"", Align::Left, 0, 2},
                                                         {"ADDRESS", Align::Left, 12, 1},
                                                         {"STATE", Align::Left, 0, 3},
                                                         {"TEXT", Align::Left, 12}},
                                                        row_of,
                                                        json_of};
  return instance;
}

void check_keyword(const std::string& keyword) {
  if (is_sendable(keyword)) return;
  throw Failure(ExitCode::Refused, "the keyword is not UTF-8", "Set the terminal to UTF-8, or convert with iconv.");
}

}  // namespace

Action configure_messages(CLI::App& app) {
  auto filter = std::make_shared<MessageFilter>();
  app.add_option("--thread", filter->thread_id, "Only messages of this thread")->check(msgctl::thread_id());
  app.add_option("--keyword", filter->keyword,
                 "Only messages whose text, subject or addresses contain this, without regard to case")
      ->type_name("TEXT");
  app.add_flag("--unread", filter->unread_only, "Only unread messages");
  app.add_flag("--oldest-first", filter->oldest_first, "Begin with the oldest message");
  app.add_option("--limit", filter->limit, "How many at most; 0 for all")->check(whole_number(0));
  app.add_option("--offset", filter->offset, "How many to leave out at the beginning")->check(whole_number(0));
  return [filter](Context& context) {
    check_keyword(filter->keyword);
    print_list(context, view(), get_messages(*filter));
  };
}

}  // namespace msgctl
