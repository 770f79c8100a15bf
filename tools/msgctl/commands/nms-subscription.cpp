// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/input.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/sheet.hpp"

namespace msgctl {
namespace {

struct SubscriptionArguments {
  std::uint64_t index = 0;
  std::string token;
};

std::string json_of(std::uint64_t index, const std::string& token) {
  return json_text(nlohmann::ordered_json{{"index", index}, {"token", token}});
}

void show(Context& context) {
  const Subscription subscription = get_subscription();
  if (context.json) {
    return write_json_item(context.out, "nms-subscription",
                           json_of(subscription->noti_index, text_of(subscription->restart_token)));
  }
  Sheet sheet(context);
  sheet.line("Index", std::to_string(subscription->noti_index));
  sheet.line("Token", text_of(subscription->restart_token));
}

void set(SubscriptionArguments& arguments, Context& context) {
  check_sendable(arguments.token, "the token");
  const msg_nms_mssi_info_t info = {arguments.index, arguments.token.data()};
  const Connection connection;
  check_command(msg_consumer_nms_update_mssi_info(&info), {"store the subscription", "subscription", {}});
  context.answer("nms-subscription", json_of(arguments.index, arguments.token), "subscription stored");
}

}  // namespace

Action configure_nms_subscription_show(CLI::App& /*app*/) {
  return [](Context& context) { show(context); };
}

Action configure_nms_subscription_set(CLI::App& app) {
  auto arguments = std::make_shared<SubscriptionArguments>();
  app.add_option("INDEX", arguments->index, "The position up to which notifications have been taken")
      ->required()
      ->check(unsigned_number());
  app.add_option("TOKEN", arguments->token, "The token with which the subscription is resumed, may be empty")
      ->required();
  return [arguments](Context& context) { set(*arguments, context); };
}

}  // namespace msgctl
