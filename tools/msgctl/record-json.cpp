// SPDX-License-Identifier: Apache-2.0
#include "msgctl/record-json.hpp"

#include <nlohmann/json.hpp>

#include "msgctl/json-text.hpp"
#include "msgctl/record-words.hpp"

namespace msgctl {
namespace {

using Json = nlohmann::ordered_json;

Json nullable(const char* text) { return text != nullptr ? Json(text) : Json(nullptr); }

Json time_in_ms(std::int64_t milliseconds) {
  return milliseconds != 0 ? Json(utc_time_ms(milliseconds)) : Json(nullptr);
}

Json object_of(const msg_address_item_t& address) {
  return {{"address_id", address.num_1},
          {"kind", address_kind(address.num_2)},
          {"role", address_role(address.num_3)},
          {"own", address.flag_4 != 0},
          {"address", text_of(address.address)}};
}

Json object_of(const msg_content_item_t& content) {
  return {{"content_id", content.content_id},          {"kind", content_kind(content.kind)},
          {"mime_type", text_of(content.text_10)},     {"body", content.flag_4 != 0},
          {"on_device", content.flag_5 != 0},          {"transfer", transfer(content.status)},
          {"file_path", text_of(content.text_7)},      {"file_name", text_of(content.text_8)},
          {"thumbnail_path", text_of(content.text_9)}, {"part_id", text_of(content.text_11)},
          {"text", text_of(content.text_12)}};
}

Json object_of(const msg_nms_msg_meta_data_t& meta) {
  return {{"message_id", meta.msg_id},
          {"object_id", text_of(meta.meta_str1)},
          {"correlation_id", text_of(meta.meta_str2)},
          {"folder", text_of(meta.meta_str3)},
          {"resource_url", text_of(meta.meta_str4)},
          {"sync", sync_state(meta.meta_int1)},
          {"download", download_state(meta.meta_int2)},
          {"modified", time_in_ms(meta.meta_int64_1)},
          {"notified", time_in_ms(meta.meta_int64_2)},
          {"seen", meta.meta_flag1},
          {"deleted", meta.meta_flag2},
          {"correlated", meta.meta_flag3}};
}

// Where number sync is supported, every message carries a record, empty or not.
Json network_store_of(const msg_nms_msg_meta_data_t* meta) {
  if (meta == nullptr || (meta->msg_id == 0 && *text_of(meta->meta_str1) == '\0')) return nullptr;
  return object_of(*meta);
}

template <typename Record>
Json array_of(const GSList* list) {
  Json array = Json::array();
  for (; list != nullptr; list = list->next) {
    if (list->data != nullptr) array.push_back(object_of(*static_cast<const Record*>(list->data)));
  }
  return array;
}

}  // namespace

std::string json_of(const msg_message_item_t& message) {
  const Json object = {{"message_id", message.msg_id},
                       {"thread_id", message.num_4},
                       {"type", message_type(message.num_2)},
                       {"direction", direction(message.num_5)},
                       {"delivery", delivery(message.num_6)},
                       {"time", utc_time(message.time_sec)},
                       {"sender", text_of(message.text_18)},
                       {"subject", text_of(message.text_17)},
                       {"body", text_of(message.text_3)},
                       {"read", message.flag_8 != 0},
                       {"locked", message.flag_16 != 0},
                       {"blocked", message.flag_15 != 0},
                       {"sim", message.num_11},
                       {"size", message.num_12},
                       {"network_status", message.network_status},
                       {"delivery_report", delivery_report(message.num_10)},
                       {"retrieval", retrieval(message.num_14)},
                       {"exported", message.flag_13 != 0},
                       {"phone_id", nullable(message.text_19)},
                       {"addresses", array_of<msg_address_item_t>(message.address_list)},
                       {"parts", array_of<msg_content_item_t>(message.content_list)},
                       {"network_store", network_store_of(message.nms_meta)}};
  return json_text(object);
}

std::string json_of(const msg_conversation_view_t& message) {
  const Json object = {{"message_id", message.msg_id},
                       {"thread_id", message.num_4},
                       {"type", message_type(message.num_2)},
                       {"direction", direction(message.num_6)},
                       {"delivery", delivery(message.num_5)},
                       {"time", utc_time(message.time_sec)},
                       {"sender", text_of(message.text_17)},
                       {"sender_name", text_of(message.text_12)},
                       {"subject", text_of(message.text_11)},
                       {"body", text_of(message.text_3)},
                       {"read", message.flag_9 != 0},
                       {"locked", message.flag_20 != 0},
                       {"blocked", message.flag_19 != 0},
                       {"sim", message.num_7},
                       {"size", message.num_14},
                       {"delivery_report", delivery_report(message.num_10)},
                       {"retrieval", retrieval(message.num_18)},
                       {"exported", message.flag_15 != 0},
                       {"phone_id", nullable(message.text_16)},
                       {"parts", array_of<msg_content_item_t>(message.content_list)}};
  return json_text(object);
}

std::string json_of(const msg_thread_view_t& thread) {
  const bool group_chat = thread.flag_8 != 0;
  const Json object = {{"thread_id", thread.thread_id},
                       {"title", text_of(thread.text_2)},
                       {"participants", thread.num_13},
                       {"group_chat_id", group_chat ? nullable(thread.text_4) : Json(nullptr)},
                       {"messages", thread.num_6},
                       {"unread", thread.num_7},
                       {"has_draft", thread.flag_15 != 0},
                       {"has_failed", thread.flag_14 != 0},
                       {"last_message",
                        {{"text", text_of(thread.text_3)},
                         {"time", utc_time(thread.time_sec)},
                         {"type", message_type(thread.num_11)},
                         {"direction", direction(thread.num_12)},
                         {"delivery", delivery(thread.num_16)},
                         {"sim", thread.num_10}}}};
  return json_text(object);
}

std::string json_of(const msg_address_item_t& address) { return json_text(object_of(address)); }

std::string json_of(const msg_content_item_t& content, const msg_nms_content_meta_t* network_store) {
  Json object = object_of(content);
  object["network_store"] =
      network_store == nullptr
          ? Json(nullptr)
          : Json{{"numbers", {network_store->num_1, network_store->num_2, network_store->num_6}},
                 {"texts",
                  {nullable(network_store->text_3), nullable(network_store->text_4), nullable(network_store->text_5)}}};
  return json_text(object);
}

std::string json_of(const msg_nms_msg_meta_data_t& meta) { return json_text(object_of(meta)); }

}  // namespace msgctl
