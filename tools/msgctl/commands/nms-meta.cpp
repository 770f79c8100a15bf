// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "msgctl/api.hpp"
#include "msgctl/commands/commands.hpp"
#include "msgctl/connection.hpp"
#include "msgctl/input.hpp"
#include "msgctl/json-text.hpp"
#include "msgctl/list-view.hpp"
#include "msgctl/record-json.hpp"
#include "msgctl/record-reader.hpp"
#include "msgctl/record-words.hpp"
#include "msgctl/sheet.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

struct UpdateArguments {
  MetadataKey key;
  std::string path;
};

std::string marks_of(const msg_nms_msg_meta_data_t& meta) {
  std::string marks = meta.meta_flag1 ? "seen" : "unseen";
  if (meta.meta_flag2) marks += ", deleted";
  if (meta.meta_flag3) marks += ", correlated";
  return marks;
}

Row row_of(const msg_nms_msg_meta_data_t& meta) {
  return {{meta.msg_id != 0 ? std::to_string(meta.msg_id) : ""},
          {text_of(meta.meta_str1)},
          {text_of(meta.meta_str2)},
          {text_of(meta.meta_str3)},
          {sync_state(meta.meta_int1)},
          {download_state(meta.meta_int2)},
          {marks_of(meta)}};
}

const ListView<msg_nms_msg_meta_data_t>& view() {
  static const ListView<msg_nms_msg_meta_data_t> instance = {"nms-metas",
                                                             "No metadata.",
                                                             {{"MESSAGE", Align::Right},
                                                              {"OBJECT", Align::Left, 8},
                                                              {"CORRELATION", Align::Left, 8, 4},
                                                              {"FOLDER", Align::Left, 8, 3},
                                                              {"SYNC", Align::Left, 0, 1},
                                                              {"DOWNLOAD", Align::Left, 0, 2},
                                                              {"MARKS", Align::Left, 8, 5}},
                                                             row_of,
                                                             json_of};
  return instance;
}

std::string moment_of(std::int64_t milliseconds) { return milliseconds != 0 ? utc_time_ms(milliseconds) : ""; }

void print_sheet(Context& context, const msg_nms_msg_meta_data_t& meta) {
  Sheet sheet(context);
  sheet.line("Message", meta.msg_id != 0 ? std::to_string(meta.msg_id) : "");
  sheet.line("Object", text_of(meta.meta_str1));
  sheet.line("Correlation", text_of(meta.meta_str2));
  sheet.line("Folder", text_of(meta.meta_str3));
  sheet.line("URL", text_of(meta.meta_str4));
  sheet.line("Sync", sync_state(meta.meta_int1));
  sheet.line("Download", download_state(meta.meta_int2));
  sheet.line("Modified", moment_of(meta.meta_int64_1));
  sheet.line("Notified", moment_of(meta.meta_int64_2));
  sheet.line("Marks", marks_of(meta));
}

std::string json_of(const MetadataKey& key) {
  return json_text(Json{{"message_id", key.message_id != 0 ? Json(key.message_id) : nullptr},
                        {"object_id", key.object_id.empty() ? nullptr : Json(key.object_id)}});
}

MetadataKey key_of(const msg_nms_msg_meta_data_t& meta) { return {meta.msg_id, text_of(meta.meta_str1)}; }

void add(const std::string& path, Context& context) {
  const Metadata metadata = read_metadata(read_input(path));
  const MetadataKey key = key_of(*metadata);
  const Connection connection;
  check_command(msg_consumer_nms_add_msg_meta(metadata.get()),
                {"add the " + key.words(), "message " + std::to_string(key.message_id), {}});
  context.answer("nms-meta-add", json_of(key), key.words() + " added");
}

void update(const UpdateArguments& arguments, Context& context) {
  const MetadataKey& key = arguments.key;
  check_sendable(key.object_id, "the object id");
  const Metadata metadata = read_metadata(read_input(arguments.path));
  const Connection connection;
  check_command(msg_consumer_nms_update_msg_meta(key.message_id, key.object(), metadata.get()),
                {"replace the " + key.words(), key.words(), "'msgctl nms meta add' adds metadata."});
  context.answer("nms-meta-update", json_of(key), key.words() + " replaced");
}

void remove(const MetadataKey& key, Context& context) {
  check_sendable(key.object_id, "the object id");
  const Connection connection;
  check_command(msg_consumer_nms_delete_msg_meta(key.message_id, key.object()),
                {"delete the " + key.words(), key.words(), {}});
  context.answer("nms-meta-delete", json_of(key), key.words() + " deleted");
}

void remove_invalid(Context& context) {
  const Connection connection;
  check_command(msg_consumer_nms_delete_invalid_msg_meta(), {"delete invalid metadata", "invalid metadata", {}});
  context.answer("nms-meta-delete-invalid", "{}", "invalid metadata deleted");
}

void declare_key(CLI::App& app, MetadataKey& key) {
  CLI::Option_group* group = app.add_option_group("Key", "At least one of");
  group->require_option(1, 0);
  group->add_option("--message", key.message_id, "The message that it belongs to")->check(message_id());
  group->add_option("--object", key.object_id, "The object's id in the network message store")
      ->check(not_empty("object id", "OBJECT"));
}

void declare_file(CLI::App& app, std::string& path) {
  app.add_option("FILE", path, "The metadata as JSON; - reads it from the standard input")
      ->type_name(file_value)
      ->required();
}

std::shared_ptr<bool> declare_with_deleted(CLI::App& app) {
  auto with_deleted = std::make_shared<bool>(false);
  app.add_flag("--with-deleted", *with_deleted, "Include what is marked as deleted");
  return with_deleted;
}

const std::map<std::string, int>& correlation_types() {
  static const std::map<std::string, int> instance = {{"message", 0}, {"group-chat", 1}};
  return instance;
}

const std::map<std::string, int>& ways_to_match() {
  static const std::map<std::string, int> instance = {{"exact", 0}, {"prefix", 1}, {"part", 2}};
  return instance;
}

}  // namespace

Action configure_nms_meta_add(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  declare_file(app, *path);
  return [path](Context& context) { add(*path, context); };
}

Action configure_nms_meta_update(CLI::App& app) {
  auto arguments = std::make_shared<UpdateArguments>();
  declare_key(app, arguments->key);
  declare_file(app, arguments->path);
  return [arguments](Context& context) { update(*arguments, context); };
}

Action configure_nms_meta_delete(CLI::App& app) {
  auto key = std::make_shared<MetadataKey>();
  declare_key(app, *key);
  return [key](Context& context) { remove(*key, context); };
}

Action configure_nms_meta_delete_invalid(CLI::App& /*app*/) {
  return [](Context& context) { remove_invalid(context); };
}

Action configure_nms_meta_show(CLI::App& app) {
  auto key = std::make_shared<MetadataKey>();
  declare_key(app, *key);
  return [key](Context& context) {
    const Metadata metadata = get_metadata(*key);
    context.json ? write_json_item(context.out, "nms-meta", json_of(*metadata)) : print_sheet(context, *metadata);
  };
}

Action configure_nms_meta_uncorrelated(CLI::App& app) {
  auto filter = std::make_shared<CorrelationFilter>();
  app.add_option("--id", filter->id, "Only metadata with this correlation id")->type_name("CORRELATION");
  app.add_option("--type", filter->type, "What the id belongs to")->transform(one_of(correlation_types()));
  app.add_option("--match", filter->match, "How the id is compared")->transform(one_of(ways_to_match()));
  app.add_flag("--with-deleted", filter->with_deleted, "Include what is marked as deleted");
  return [filter](Context& context) { print_list(context, view(), get_uncorrelated_metadata(*filter)); };
}

Action configure_nms_meta_sync_required(CLI::App& app) {
  const auto with_deleted = declare_with_deleted(app);
  return [with_deleted](Context& context) { print_list(context, view(), get_sync_required_metadata(*with_deleted)); };
}

Action configure_nms_meta_download_required(CLI::App& /*app*/) {
  return [](Context& context) { print_list(context, view(), get_download_required_metadata()); };
}

}  // namespace msgctl
