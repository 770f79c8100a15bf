// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <charconv>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/input.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/record-reader.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

struct NetworkStatus {
  int message_id = 0;
  int value = 0;
};

Attempt attempt_with_message(const std::string& action, int id) {
  const std::string subject = "message " + std::to_string(id);
  return {action + " of " + subject, subject, "'msgctl messages' lists the messages."};
}

void add(const std::string& path, Context& context) {
  const MessageItem message = read_message(read_input(path));
  const Connection connection;
  check_command(msg_consumer_nms_add_message(message.get()),
                {"add the message", "thread " + std::to_string(message->num_4), "Thread 0 is that of the addresses."});
  context.answer("nms-add", "{}", "message added");
}

void show_status(int id, Context& context) {
  int type = 0, status = 0;
  check_query(msg_consumer_nms_get_message_network_status(id, &type, &status),
              attempt_with_message("read the network status", id));
  const Json item = {{"message_id", id}, {"sub_type", sub_type(type)}, {"network_status", status}};
  context.answer("nms-status", json_text(item),
                 "sub-type " + sub_type(type) + ", network status " + std::to_string(status));
}

void set_status(const NetworkStatus& status, Context& context) {
  const Connection connection;
  check_command(msg_consumer_nms_update_message_network_status(status.message_id, status.value),
                attempt_with_message("set the network status", status.message_id));
  context.answer(
      "nms-set-status", json_text(Json{{"message_id", status.message_id}, {"network_status", status.value}}),
      "message " + std::to_string(status.message_id) + " has network status " + std::to_string(status.value));
}

// A number is seconds since 1970, anything else a date.
std::optional<std::int64_t> seconds_of(const std::string& text) {
  std::int64_t seconds = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error == std::errc() && stop == end) return seconds;
  const std::optional<std::int64_t> milliseconds = milliseconds_of(text);
  return milliseconds ? std::optional(*milliseconds / 1000) : std::nullopt;
}

CLI::Validator time_check() {
  return CLI::Validator(
      [](const std::string& text) {
        const std::optional<std::int64_t> seconds = seconds_of(text);
        const bool usable = seconds && *seconds >= 0 && *seconds <= std::numeric_limits<int>::max();
        return usable ? "" : "'" + text + "' is neither a date such as 2026-03-01 nor seconds since 1970, up to 2038";
      },
      "TIME");
}

void delete_before(const std::string& time, Context& context) {
  const int seconds = static_cast<int>(seconds_of(time).value());
  const std::string moment = utc_time(seconds);
  const Connection connection;
  check_command(msg_consumer_nms_delete_message_by_time(seconds),
                {"delete messages older than " + moment, "message older than " + moment, {}});
  context.answer("nms-delete-before", json_text(Json{{"before", moment}}),
                 "unlocked messages older than " + moment + " deleted");
}

void reset_box(Context& context) {
  const Connection connection;
  check_command(msg_consumer_nms_handle_resetbox(), {"reset the box", "network mailbox", {}});
  context.answer("nms-reset-box", "{}", "metadata and subscription dropped");
}

// The library writes a preference itself, so that a failure is no refusal of the service.
void set_delay(int value, Context& context) {
  const int status = msg_consumer_nms_set_delay_noti_event(value);
  if (status == MSG_CONSUMER_ERROR_OPERATION_FAILED) {
    throw Failure(ExitCode::Failed, "cannot write the preference", "--debug shows the cause.");
  }
  check_query(status, {"write the preference", "preference", {}});
  context.answer("nms-delay-events", json_text(Json{{"value", value}}), "preference set to " + std::to_string(value));
}

}  // namespace

Action configure_nms_add(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  app.add_option("FILE", *path, "The message as JSON; - reads it from the standard input")
      ->type_name(file_value)
      ->required();
  return [path](Context& context) { add(*path, context); };
}

Action configure_nms_status(CLI::App& app) {
  auto id = std::make_shared<int>();
  app.add_option("ID", *id, "The message")->required()->check(message_id());
  return [id](Context& context) { show_status(*id, context); };
}

Action configure_nms_set_status(CLI::App& app) {
  auto status = std::make_shared<NetworkStatus>();
  app.add_option("ID", status->message_id, "The message")->required()->check(message_id());
  app.add_option("STATUS", status->value, "The network status, any number")
      ->required()
      ->check(whole_number(std::numeric_limits<int>::min()));
  return [status](Context& context) { set_status(*status, context); };
}

Action configure_nms_delete_before(CLI::App& app) {
  auto time = std::make_shared<std::string>();
  app.add_option("TIME", *time,
                 "A date with or without time of day, in local time unless it names a zone; or seconds since 1970")
      ->required()
      ->check(time_check());
  return [time](Context& context) { delete_before(*time, context); };
}

Action configure_nms_reset_box(CLI::App& app) {
  auto confirmed = std::make_shared<bool>(false);
  app.add_flag("--yes", *confirmed, "Confirm that it is to be dropped")->required();
  return [confirmed](Context& context) { reset_box(context); };
}

Action configure_nms_download_required(CLI::App& /*app*/) {
  return [](Context& context) {
    const bool required = is_download_required();
    context.answer("nms-download-required", json_text(Json{{"required", required}}), required ? "yes" : "no");
  };
}

Action configure_nms_delay_events(CLI::App& app) {
  auto value = std::make_shared<int>();
  app.add_option("NUMBER", *value, "The preference's value, any number")
      ->required()
      ->check(whole_number(std::numeric_limits<int>::min()));
  return [value](Context& context) { set_delay(*value, context); };
}

}  // namespace msgctl
