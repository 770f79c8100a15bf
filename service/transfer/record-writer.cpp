// SPDX-License-Identifier: Apache-2.0
#include "record-writer.hpp"

#include <glib.h>

#include <nlohmann/json.hpp>
#include <utility>

#include <msg-consumer-platform/releaser.hpp>

#include "base64.hpp"
#include "words.hpp"

namespace msg_consumer::service::transfer {
namespace {

using Json = nlohmann::ordered_json;

// Collects whether a text had to be mended: only a damaged store holds one.
class Writer {
 public:
  Json text(const std::string& value) {
    const bool is_clean =
        g_utf8_validate_len(value.data(), value.size(), nullptr) != FALSE && value.find('\0') == std::string::npos;
    if (is_clean) {
      return value;
    }
    _was_mended = true;
    const Owned<char, g_free> mended(g_utf8_make_valid(value.data(), static_cast<gssize>(value.size())));
    return Json(mended.get());
  }

  Line line(const Json& object) const { return {.text = object.dump() + "\n", .was_mended = _was_mended}; }

 private:
  bool _was_mended = false;
};

void put_counts(Json& object, const Counts& counts) {
  object["threads"] = counts.threads;
  object["messages"] = counts.messages;
  object["metadata"] = counts.metadata;
}

Json object_of(Writer& writer, const Address& address) {
  return {{"id", address.num_a},
          {"kind", ADDRESS_KIND.of(address.num_b)},
          {"role", ADDRESS_ROLE.of(address.num_c)},
          {"own", address.flag_e != 0},
          {"address", writer.text(address.address)}};
}

Json participant_of(Writer& writer, const Address& address) {
  Json object = object_of(writer, address);
  object.erase("role");
  return object;
}

Json object_of(Writer& writer, const Content& part, std::int64_t file_size) {
  return {{"id", part.id},
          {"kind", PART_KIND.of(part.kind)},
          {"mime_type", writer.text(part.str_e)},
          {"body", part.flag_c != 0},
          {"on_device", part.flag_d != 0},
          {"transfer", PART_TRANSFER.of(part.status)},
          {"file_name", writer.text(part.str_h)},
          {"file_size", file_size == MessageRecord::NO_FILE ? Json(nullptr) : Json(file_size)},
          {"part_id", writer.text(part.str_j)},
          {"text", writer.text(part.str_l)}};
}

Json object_of(Writer& writer, const NmsMsgMeta& meta) {
  return {{"object_id", writer.text(meta.metaStr1)},
          {"correlation_id", writer.text(meta.metaStr2)},
          {"folder", writer.text(meta.metaStr3)},
          {"resource_url", writer.text(meta.metaStr4)},
          {"modified_ms", meta.metaInt64_1},
          {"notified_ms", meta.metaInt64_2},
          {"sync", SYNC_STATE.of(meta.metaInt1)},
          {"download", DOWNLOAD_STATE.of(meta.metaInt2)},
          {"seen", meta.metaFlag1},
          {"deleted", meta.metaFlag2},
          {"correlated", meta.metaFlag3}};
}

}  // namespace

Line line_of(const StoreHeader& header) {
  Json object = {{"kind", "store"}, {"version", FORMAT_VERSION}};
  put_counts(object, header.counts);
  object["last_ids"] = {{"thread", header.last_ids.thread},
                        {"participant", header.last_ids.participant},
                        {"message", header.last_ids.message},
                        {"part", header.last_ids.part},
                        {"address", header.last_ids.address}};
  return Writer().line(object);
}

Line line_of(const ThreadRecord& thread) {
  Writer writer;
  Json participants = Json::array();
  for (const Address& address : thread.participants) {
    participants.push_back(participant_of(writer, address));
  }
  return writer.line({{"kind", "thread"},
                      {"id", thread.id},
                      {"group", thread.is_group},
                      {"group_chat_id", writer.text(thread.chat_id)},
                      {"title", writer.text(thread.title)},
                      {"participants", std::move(participants)}});
}

Line line_of(const MessageRecord& record) {
  Writer writer;
  const Message& message = record.stored.message;
  Json object = {{"kind", "message"},
                 {"id", message.id},
                 {"thread", message.num_b},
                 {"type", MESSAGE_TYPE.of(message.num_c)},
                 {"direction", MESSAGE_DIRECTION.of(message.num_e)},
                 {"delivery", MESSAGE_DELIVERY.of(message.num_f)},
                 {"time_ms", message.time_ms},
                 {"sender", writer.text(message.str_p)},
                 {"sender_name", writer.text(record.stored.sender_name)},
                 {"subject", writer.text(message.str_o)},
                 {"text", writer.text(message.str_d)},
                 {"sub_type", SUB_TYPE.of(message.subType)},
                 {"read", message.flag_j != 0},
                 {"locked", message.flag_k != 0},
                 {"blocked", message.flag_l != 0},
                 {"sim", message.num_h},
                 {"size", message.num_q},
                 {"network_status", message.networkStatus},
                 {"delivery_report", DELIVERY_REPORT.of(message.num_m)},
                 {"retrieval", MMS_RETRIEVAL.of(message.num_n)},
                 {"exported", message.flag_r != 0},
                 {"phone_id", writer.text(message.str_s)},
                 {"addresses", Json::array()},
                 {"parts", Json::array()},
                 {"metadata", Json::array()}};
  for (const Address& address : message.addresses) {
    object["addresses"].push_back(object_of(writer, address));
  }
  for (std::size_t index = 0; index < message.contents.size(); ++index) {
    object["parts"].push_back(object_of(writer, message.contents[index], record.file_sizes.at(index)));
  }
  for (const NmsMsgMeta& meta : record.metadata) {
    object["metadata"].push_back(object_of(writer, meta));
  }
  return writer.line(object);
}

Line line_of(const DataRecord& data) {
  return Writer().line({{"kind", "data"}, {"base64", encode_base64(data.bytes)}});
}

Line line_of(const NmsMsgMeta& metadata) {
  Writer writer;
  Json object = {{"kind", "metadata"}, {"message", metadata.msgId}};
  object.update(object_of(writer, metadata));
  return writer.line(object);
}

Line line_of(const SubscriptionRecord& subscription) {
  Writer writer;
  return writer.line(
      {{"kind", "subscription"}, {"index", subscription.index}, {"token", writer.text(subscription.token)}});
}

Line line_of(const EndRecord& end) {
  Json object = {{"kind", "end"}};
  put_counts(object, end.counts);
  return Writer().line(object);
}

}  // namespace msg_consumer::service::transfer
