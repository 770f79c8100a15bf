// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/input.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/service-path.hpp"

namespace msgctl {
namespace {

struct SendArguments {
  std::vector<std::string> recipients;
  int thread_id = 0;
  int sim = 0;
  std::string text;
  std::vector<std::string> files;
};

// The newline that ends the last line of a pipe is not meant to be sent.
std::string text_to_send(const std::string& argument) {
  if (argument != "-") return argument;
  std::string text = read_standard_input();
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string result;
  for (const std::string& part : parts) {
    if (!result.empty()) result += ';';
    result += part;
  }
  return result;
}

std::string joined_paths(const std::vector<std::string>& files) {
  std::vector<std::string> paths;
  for (const std::string& file : files) {
    paths.push_back(path_of_existing_file(file));
    if (paths.back().find(';') != std::string::npos) {
      throw Failure(ExitCode::Refused, "a file with ';' in its path cannot be attached: " + paths.back(),
                    "Rename it first.");
    }
  }
  return joined(paths);
}

// What both ways of sending have in common; `call` does the sending.
template <typename Call>
void send(const SendArguments& arguments, Context& context, Call call) {
  const std::string recipients = joined(arguments.recipients), text = text_to_send(arguments.text);
  check_sendable(recipients, "an address");
  check_sendable(text, "the text");
  const Connection connection;
  int id = 0;
  const std::string subject = arguments.thread_id > 0 ? "thread " + std::to_string(arguments.thread_id)
                                                      : "the message, its recipients or its files";
  check_command(call(recipients.c_str(), text.c_str(), &id),
                {"send the message", subject, "'msgctl threads' lists the threads."});
  context.json ? write_json_item(context.out, "sent", json_text(nlohmann::ordered_json{{"message_id", id}}))
               : context.out.write("sent as message " + std::to_string(id) + "\n");
}

void send_sms(const SendArguments& arguments, Context& context) {
  send(arguments, context, [&](const char* recipients, const char* text, int* id) {
    return msg_consumer_send_message(arguments.thread_id, recipients, text, arguments.sim, id);
  });
}

void send_mms(const SendArguments& arguments, Context& context) {
  const std::string files = joined_paths(arguments.files);
  send(arguments, context, [&](const char* recipients, const char* text, int* id) {
    return msg_consumer_send_mms(arguments.thread_id, recipients, text, files.c_str(), arguments.sim, id);
  });
}

void nms_send_sms(const SendArguments& arguments, Context& context) {
  send(arguments, context, [&](const char* recipients, const char* text, int* id) {
    return msg_consumer_nms_send_message(arguments.thread_id, recipients, text, id);
  });
}

void nms_send_mms(const SendArguments& arguments, Context& context) {
  const std::string files = joined_paths(arguments.files);
  send(arguments, context, [&](const char* recipients, const char* text, int* id) {
    return msg_consumer_nms_send_mms(arguments.thread_id, recipients, text, files.c_str(), id);
  });
}

std::shared_ptr<SendArguments> declare_arguments(CLI::App& app) {
  auto arguments = std::make_shared<SendArguments>();
  CLI::Option_group* receivers = app.add_option_group("Receivers", "At least one of");
  receivers->require_option(1, 0);
  receivers->add_option("--to", arguments->recipients, "A receiver's address; may be repeated")
      ->allow_extra_args(false)
      ->check(CLI::Validator([](std::string& address) { return address.empty() ? "the address is empty" : ""; },
                             "ADDRESS"));
  receivers->add_option("--thread", arguments->thread_id, "Write in this thread")->check(msgctl::thread_id());
  app.add_option("TEXT", arguments->text, "The text; - reads it from the standard input");
  return arguments;
}

// The network store's ways of sending leave the choice of the SIM to the device.
std::shared_ptr<SendArguments> with_sim(CLI::App& app, std::shared_ptr<SendArguments> arguments) {
  app.add_option("--sim", arguments->sim, "The SIM to send with")->check(whole_number(0));
  return arguments;
}

using Send = void (*)(const SendArguments& arguments, Context& context);

Action sms_action(CLI::App& app, const std::shared_ptr<SendArguments>& arguments, Send send) {
  app.get_option("TEXT")->required();
  return [arguments, send](Context& context) { send(*arguments, context); };
}

Action mms_action(CLI::App& app, const std::shared_ptr<SendArguments>& arguments, Send send) {
  app.add_option("--file", arguments->files, "A file to attach; may be repeated")
      ->type_name(file_value)
      ->allow_extra_args(false);
  return [arguments, send](Context& context) {
    if (arguments->text.empty() && arguments->files.empty()) {
      throw Failure(ExitCode::Usage, "there is nothing to send: neither a text nor a --file",
                    "'msgctl mms --help' shows how it is used.");
    }
    send(*arguments, context);
  };
}

}  // namespace

Action configure_send(CLI::App& app) { return sms_action(app, with_sim(app, declare_arguments(app)), send_sms); }

Action configure_mms(CLI::App& app) { return mms_action(app, with_sim(app, declare_arguments(app)), send_mms); }

Action configure_nms_send(CLI::App& app) { return sms_action(app, declare_arguments(app), nms_send_sms); }

Action configure_nms_mms(CLI::App& app) { return mms_action(app, declare_arguments(app), nms_send_mms); }

}  // namespace msgctl
