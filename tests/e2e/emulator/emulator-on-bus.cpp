// SPDX-License-Identifier: Apache-2.0
#include "emulator-on-bus.hpp"

namespace msg_consumer::test {

Json EmulatorOnBus::copied(const msg_message_item_t& record) {
  const auto text = [](const char* value) { return std::string(value != nullptr ? value : ""); };
  Json addresses = Json::array();
  for (const GSList* node = record.address_list; node != nullptr; node = node->next) {
    const auto* address = static_cast<const msg_address_item_t*>(node->data);
    addresses.push_back(std::to_string(address->num_3) + " " + address->address);
  }
  Json parts = Json::array();
  for (const GSList* node = record.content_list; node != nullptr; node = node->next) {
    const auto* part = static_cast<const msg_content_item_t*>(node->data);
    parts.push_back({{"body", part->flag_4 != 0},
                     {"mime_type", part->text_10},
                     {"name", part->text_8},
                     {"text", part->text_12},
                     {"file", read_file(part->text_7)}});
  }
  return {{"id", record.msg_id},
          {"type", record.num_2},
          {"text", text(record.text_3)},
          {"thread", record.num_4},
          {"direction", record.num_5},
          {"delivery", record.num_6},
          {"read", record.flag_8 != 0},
          {"time", record.time_sec},
          {"sim", record.num_11},
          {"size", record.num_12},
          {"exported", record.flag_13 != 0},
          {"retrieval", record.num_14},
          {"blocked", record.flag_15 != 0},
          {"locked", record.flag_16 != 0},
          {"subject", text(record.text_17)},
          {"sender", text(record.text_18)},
          {"addresses", addresses},
          {"parts", parts},
          {"object_id", record.nms_meta != nullptr ? text(record.nms_meta->meta_str1) : ""}};
}

}  // namespace msg_consumer::test
