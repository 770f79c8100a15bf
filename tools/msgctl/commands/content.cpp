// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/service-path.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

struct ContentArguments {
  int message_id = 0;
  std::string path;
};

constexpr int text_kind = 1;

// One direction of moving a file.
struct Transfer {
  const char* kind;  // as JSON names it
  const char* verb;  // "cannot … message 3"
  const char* done;  // "… /tmp/cat.png"
  std::string (*path_for_service)(const std::string& path);
  int (*call)(int message_id, const char* path);
};

constexpr Transfer fetching = {"content-get", "get the file of", "written to", path_of_new_file,
                               msg_consumer_get_content_file};
constexpr Transfer sending = {"content-send", "add a file to", "file added:", path_of_existing_file,
                              msg_consumer_send_content_file};

void move_file(const Transfer& transfer, const ContentArguments& arguments, Context& context) {
  const std::string path = transfer.path_for_service(arguments.path);
  const std::string subject = "message " + std::to_string(arguments.message_id);
  const Connection connection;
  check_command(transfer.call(arguments.message_id, path.c_str()),
                {std::string(transfer.verb) + " " + subject, subject, "'msgctl messages' lists the messages."});
  const nlohmann::ordered_json item = {{"message_id", arguments.message_id}, {"path", path}};
  context.json ? write_json_item(context.out, transfer.kind, json_text(item))
               : context.out.write(std::string(transfer.done) + " " + printable(path) + "\n");
}

Row row_of(const Part& part) {
  const msg_content_item_t& content = *part.content;
  return {
      {std::to_string(content.content_id)}, {content_kind(content.kind)},
      {text_of(content.text_10)},           {text_of(content.text_8)},
      {transfer(content.status)},           {text_of(content.kind == text_kind ? content.text_12 : content.text_7)}};
}

std::string json_of_part(const Part& part) { return json_of(*part.content, part.network_store.get()); }

const ListView<Part>& view() {
  static const ListView<Part> instance = {"contents",
                                          "No parts.",
                                          {{"ID", Align::Right},
                                           {"KIND"},
                                           {"TYPE", Align::Left, 10, 3},
                                           {"NAME", Align::Left, 8, 1},
                                           {"TRANSFER", Align::Left, 0, 2},
                                           {"TEXT OR PATH", Align::Left, 8, 4}},
                                          row_of,
                                          json_of_part};
  return instance;
}

std::shared_ptr<ContentArguments> declare_arguments(CLI::App& app) {
  auto arguments = std::make_shared<ContentArguments>();
  app.add_option("ID", arguments->message_id, "The message")->required()->check(message_id());
  app.add_option("PATH", arguments->path, "The file")->type_name(file_value)->required();
  return arguments;
}

}  // namespace

Action configure_content_list(CLI::App& app) {
  auto id = std::make_shared<int>();
  app.add_option("ID", *id, "The message")->required()->check(message_id());
  return [id](Context& context) { print_list(context, view(), get_parts(*id)); };
}

Action configure_content_get(CLI::App& app) {
  const auto arguments = declare_arguments(app);
  return [arguments](Context& context) { move_file(fetching, *arguments, context); };
}

Action configure_content_send(CLI::App& app) {
  const auto arguments = declare_arguments(app);
  return [arguments](Context& context) { move_file(sending, *arguments, context); };
}

}  // namespace msgctl
