// SPDX-License-Identifier: Apache-2.0
#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

Row row_of(const msg_thread_view_t& thread) {
  const Style style = thread.num_7 > 0 ? Style::Bold : Style::Plain;
  return {{std::to_string(thread.thread_id)},
          {text_of(thread.text_2), style},
          {std::to_string(thread.num_6)},
          {std::to_string(thread.num_7), thread.num_7 > 0 ? Style::Yellow : Style::Plain},
          {local_time(thread.time_sec)},
          {text_of(thread.text_3), style}};
}

const ListView<msg_thread_view_t>& view() {
  static const ListView<msg_thread_view_t> instance = {"threads",
                                                       "No threads.",
                                                       {{"ID", Align::Right},
                                                        {"WITH", Align::Left, 12, 1},
                                                        {"MESSAGES", Align::Right, 0, 4},
                                                        {"UNREAD", Align::Right, 0, 2},
                                                        {"LAST", Align::Left, 0, 3},
                                                        {"TEXT", Align::Left, 12}},
                                                       row_of,
                                                       json_of};
  return instance;
}

}  // namespace

Action configure_threads(CLI::App& /*app*/) {
  return [](Context& context) { print_list(context, view(), get_threads()); };
}

}  // namespace msgctl
