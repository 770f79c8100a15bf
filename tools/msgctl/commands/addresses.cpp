// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/text.hpp"

namespace msgctl {
namespace {

Row row_of(const msg_address_item_t& address) {
  return {{text_of(address.address)}, {address_kind(address.num_2)}, {address.flag_4 != 0 ? "own" : ""}};
}

const ListView<msg_address_item_t>& view() {
  static const ListView<msg_address_item_t> instance = {
      "addresses", "No addresses.", {{"ADDRESS", Align::Left, 12}, {"KIND"}, {""}}, row_of, json_of};
  return instance;
}

void find_thread(const std::string& address, Context& context) {
  if (!is_sendable(address)) throw Failure(ExitCode::Refused, "the address is not UTF-8");
  const int thread_id = get_thread_with(address);
  context.json ? write_json_item(context.out, "thread", json_text(nlohmann::ordered_json{{"thread_id", thread_id}}))
               : context.out.write(std::to_string(thread_id) + "\n");
}

}  // namespace

Action configure_addresses(CLI::App& app) {
  auto thread_id = std::make_shared<int>();
  app.add_option("THREAD", *thread_id, "The thread")->required()->check(msgctl::thread_id());
  return [thread_id](Context& context) { print_list(context, view(), get_addresses(*thread_id)); };
}

Action configure_find_thread(CLI::App& app) {
  auto address = std::make_shared<std::string>();
  app.add_option("ADDRESS", *address, "The address")->required();
  return [address](Context& context) { find_thread(*address, context); };
}

}  // namespace msgctl
