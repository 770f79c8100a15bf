// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/json-text.hpp"

namespace msgctl {
namespace {

void request(bool wanted, Context& context) {
  const Connection connection;
  check_command(msg_consumer_send_change_sms_application_request(wanted),
                {"ask for the default SMS application to be changed", "default SMS application", {}});
  context.json
      ? write_json_item(context.out, "request-default-sms", json_text(nlohmann::ordered_json{{"wanted", wanted}}))
      : context.out.write("request sent\n");
}

}  // namespace

Action configure_request_default_sms(CLI::App& app) {
  auto give_back = std::make_shared<bool>(false);
  app.add_flag("--give-back", *give_back, "Ask for the opposite: no longer to be the default");
  return [give_back](Context& context) { request(!*give_back, context); };
}

}  // namespace msgctl
