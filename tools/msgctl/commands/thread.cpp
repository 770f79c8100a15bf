// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/sheet.hpp"

namespace msgctl {
namespace {

constexpr const char* advice = "'msgctl threads' lists the threads.";

std::string joined(const std::vector<int>& ids) {
  std::string words;
  for (const int id : ids) words += (words.empty() ? "" : ", ") + std::to_string(id);
  return words;
}

const char* yes_or_no(bool value) { return value ? "yes" : "no"; }

void print_sheet(Context& context, const msg_thread_view_t& thread) {
  const bool group_chat = thread.flag_8 != 0;
  Sheet sheet(context);
  sheet.line("Thread", std::to_string(thread.thread_id));
  sheet.line("With", text_of(thread.text_2));
  sheet.line("People", std::to_string(thread.num_13));
  sheet.line("Group chat", group_chat ? text_of(thread.text_4) : "");
  sheet.line("Messages", std::to_string(thread.num_6) + ", " + std::to_string(thread.num_7) + " unread");
  sheet.line("Draft", yes_or_no(thread.flag_15 != 0));
  sheet.line("Failed", yes_or_no(thread.flag_14 != 0));
  sheet.line("Last", local_time(thread.time_sec));
  sheet.line("Text", text_of(thread.text_3));
}

// All of them as one change, or none.
void delete_threads(const std::vector<int>& ids, Context& context) {
  const bool one = ids.size() == 1;
  const std::string threads = (one ? "thread " : "threads ") + joined(ids);
  const std::string missing = one ? threads : "thread by one of the ids " + joined(ids) + ", so nothing was deleted";
  const Connection connection;
  check_command(one ? msg_consumer_delete_thread(ids.front())
                    : msg_consumer_delete_threads(ids.data(), static_cast<int>(ids.size())),
                {"delete " + threads, missing, advice});
  context.json ? write_json_item(context.out, "thread-delete", json_text(nlohmann::ordered_json{{"thread_ids", ids}}))
               : context.out.write(threads + " deleted\n");
}

void set_active_thread(int id, Context& context) {
  const Connection connection;
  const std::string subject = "thread " + std::to_string(id);
  check_command(msg_consumer_set_active_thread_id(id), {"make " + subject + " the active one", subject, advice});
  const nlohmann::ordered_json item = {{"thread_id", id != 0 ? nlohmann::ordered_json(id) : nullptr}};
  context.json ? write_json_item(context.out, "thread-active", json_text(item))
               : context.out.write(id != 0 ? subject + " is the active one\n" : "no thread is active\n");
}

}  // namespace

Action configure_thread_show(CLI::App& app) {
  auto id = std::make_shared<int>();
  app.add_option("ID", *id, "The thread")->required()->check(msgctl::thread_id());
  return [id](Context& context) {
    const ThreadItem thread = get_thread(*id);
    context.json ? write_json_item(context.out, "thread-view", json_of(*thread)) : print_sheet(context, *thread);
  };
}

Action configure_thread_delete(CLI::App& app) {
  auto ids = std::make_shared<std::vector<int>>();
  app.add_option("ID", *ids, "The threads")->required()->check(msgctl::thread_id());
  return [ids](Context& context) { delete_threads(*ids, context); };
}

Action configure_thread_active(CLI::App& app) {
  auto id = std::make_shared<int>(0);
  CLI::Option_group* choice = app.add_option_group("Choice", "One of");
  choice->require_option(1);
  choice->add_option("ID", *id, "The thread that is being looked at")->check(msgctl::thread_id());
  choice->add_flag_callback(
      "--none", [id] { *id = 0; }, "No thread is being looked at any more");
  return [id](Context& context) { set_active_thread(*id, context); };
}

}  // namespace msgctl
