// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/message-cells.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/sheet.hpp"

namespace msgctl {
namespace {

std::string marks_of(const msg_message_item_t& message) {
  std::string marks = message.flag_8 != 0 ? "read" : "unread";
  if (message.flag_16 != 0) marks += ", locked";
  if (message.flag_15 != 0) marks += ", blocked";
  if (message.flag_13 != 0) marks += ", exported";
  return marks;
}

std::string words_of(const msg_address_item_t& address) {
  std::string words = text_of(address.address);
  if (address.flag_4 != 0) words += " (own)";
  return words;
}

std::string words_of(const msg_content_item_t& part) {
  std::string words = std::to_string(part.content_id) + "  " + content_kind(part.kind) + "  " + text_of(part.text_10);
  if (*text_of(part.text_8) != '\0') words.append("  ").append(part.text_8);
  return words;
}

std::string label_of_role(int role) {
  static constexpr int from = 1, cc = 3;
  if (role == from) return "From";
  return role == cc ? "Cc" : "To";
}

void print_addresses(Sheet& sheet, const msg_message_item_t& message) {
  bool names_sender = false;
  for (const GSList* node = message.address_list; node != nullptr; node = node->next) {
    const auto* address = static_cast<const msg_address_item_t*>(node->data);
    if (address == nullptr) continue;
    const std::string label = label_of_role(address->num_3);
    names_sender = names_sender || label == "From";
    sheet.line(label, words_of(*address));
  }
  if (!names_sender) sheet.line("From", text_of(message.text_18));
}

void print_parts(Sheet& sheet, const msg_message_item_t& message) {
  for (const GSList* node = message.content_list; node != nullptr; node = node->next) {
    if (node->data != nullptr) sheet.line("Part", words_of(*static_cast<const msg_content_item_t*>(node->data)));
  }
}

void print_sheet(Context& context, const msg_message_item_t& message) {
  Sheet sheet(context);
  sheet.line("Message", std::to_string(message.msg_id));
  sheet.line("Thread", std::to_string(message.num_4));
  sheet.line("Type", message_type(message.num_2) + ", " + direction(message.num_5));
  print_addresses(sheet, message);
  sheet.line("Time", local_time(message.time_sec));
  sheet.line("Delivery", message.num_6 != 0 ? delivery(message.num_6) : "");
  sheet.line("Report", message.num_10 != 0 ? delivery_report(message.num_10) : "");
  sheet.line("Retrieval", message.num_14 != 0 ? retrieval(message.num_14) : "");
  sheet.line("Marks", marks_of(message));
  sheet.line("SIM", std::to_string(message.num_11));
  sheet.line("Phone's id", text_of(message.text_19));
  sheet.line("Subject", text_of(message.text_17));
  print_parts(sheet, message);
  sheet.body(text_of(message.text_3));
}

void show(Context& context, int message_id) {
  const MessageItem message = get_message(message_id);
  context.json ? write_json_item(context.out, "message", json_of(*message)) : print_sheet(context, *message);
}

void show_in_conversation(Context& context, int message_id) {
  const ConversationItem entry = get_conversation_entry(message_id);
  if (context.json) return write_json_item(context.out, "conversation-entry", json_of(*entry));
  Sheet sheet(context);
  sheet.line("Message", std::to_string(entry->msg_id));
  sheet.line("Thread", std::to_string(entry->num_4));
  sheet.line("From", sender_in_conversation(*entry));
  sheet.line("Time", local_time(entry->time_sec));
  sheet.line("State", state_cell(state_of(*entry)).text);
  sheet.line("Subject", text_of(entry->text_11));
  sheet.line("Parts", entry->num_13 > 0 ? std::to_string(entry->num_13) : "");
  sheet.body(text_of(entry->text_3));
}

}  // namespace

Action configure_show(CLI::App& app) {
  auto message_id = std::make_shared<int>();
  auto in_conversation = std::make_shared<bool>(false);
  app.add_option("ID", *message_id, "The message")->required()->check(msgctl::message_id());
  app.add_flag("--in-conversation", *in_conversation, "Show it as it appears in its conversation");
  return [message_id, in_conversation](Context& context) {
    *in_conversation ? show_in_conversation(context, *message_id) : show(context, *message_id);
  };
}

}  // namespace msgctl
