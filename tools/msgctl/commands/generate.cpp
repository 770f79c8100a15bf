// SPDX-License-Identifier: Apache-2.0
// What is generated from the commands: for shells, for the manual, and for whoever wants to know them.
#include <map>
#include <memory>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/completion.hpp"
#include "msgctl/input.hpp"
#include "msgctl/manual.hpp"
#include "msgctl/outline.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

constexpr int offered_messages = 100;

Outline whole_outline(const CLI::App& app) {
  const CLI::App* root = &app;
  while (root->get_parent() != nullptr) root = root->get_parent();
  return outline_of(*root);
}

std::string offer(int id, const char* text) {
  return std::to_string(id) + "\t" + fit(printable(text_of(text)), 40) + "\n";
}

// Straight from the store, which takes milliseconds: the service is not asked, let alone started.
std::string message_ids(const CLI::App& /*app*/) {
  MessageFilter filter;
  filter.limit = offered_messages;
  std::string lines;
  for (const msg_message_item_t& message : get_messages(filter)) lines += offer(message.msg_id, message.text_3);
  return lines;
}

std::string thread_ids(const CLI::App& /*app*/) {
  std::string lines;
  for (const msg_thread_view_t& thread : get_threads()) lines += offer(thread.thread_id, thread.text_2);
  return lines;
}

using Generate = std::string (*)(const CLI::App& app);

const std::map<std::string, Generate>& completions() {
  static const std::map<std::string, Generate> instance = {
      {"bash", [](const CLI::App& app) { return bash_completion(whole_outline(app)); }},
      {"zsh", [](const CLI::App& app) { return zsh_completion(whole_outline(app)); }},
      {"fish", [](const CLI::App& app) { return fish_completion(whole_outline(app)); }},
      {"message-ids", message_ids},
      {"thread-ids", thread_ids},
  };
  return instance;
}

}  // namespace

Action configure_completion(CLI::App& app) {
  auto what = std::make_shared<std::string>();
  std::vector<std::string> words;
  for (const auto& [word, generate] : completions()) words.push_back(word);
  app.add_option("WHAT", *what, "The shell, or what to choose from")->required()->check(one_of(words));
  return [what, &app](Context& context) { context.out.write(completions().at(*what)(app)); };
}

Action configure_manual(CLI::App& app) {
  auto prose = std::make_shared<std::string>();
  app.add_option("FILE", *prose, "The text around it")->type_name(file_value)->required();
  return [prose, &app](Context& context) { context.out.write(manual(whole_outline(app), read_input(*prose))); };
}

Action configure_outline(CLI::App& app) {
  return [&app](Context& context) { write_json_item(context.out, "outline", json_of(whole_outline(app))); };
}

}  // namespace msgctl
