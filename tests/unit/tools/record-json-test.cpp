// SPDX-License-Identifier: Apache-2.0
#include "msgctl/record-json.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace msgctl {
namespace {

using Json = nlohmann::json;

// Records of these tests own nothing.
char* text(const char* literal) { return const_cast<char*>(literal); }  // NOLINT(cppcoreguidelines-pro-type-const-cast)

TEST(RecordJson, AMessageHasEveryMemberUnderItsName) {
  msg_address_item_t address = {.num_1 = 4, .num_2 = 2, .num_3 = 3, .flag_4 = 1, .address = text("a@b.example")};
  msg_content_item_t part{};
  part.content_id = 5;
  part.kind = 2;
  part.flag_4 = 1;
  part.status = 3;
  part.text_7 = text("/files/cat.png");
  part.text_8 = text("cat.png");
  part.text_9 = text("/files/cat-small.png");
  part.text_10 = text("image/png");
  part.text_11 = text("cat");
  part.text_12 = text("a cat");
  GSList addresses = {&address, nullptr};
  GSList parts = {&part, nullptr};
  GSList parts_after_missing = {nullptr, &parts};

  msg_message_item_t message{};
  message.msg_id = 12;
  message.num_2 = 2;
  message.text_3 = text("body");
  message.num_4 = 3;
  message.num_5 = 1;
  message.num_6 = 5;
  message.network_status = 77;
  message.flag_8 = 1;
  message.time_sec = 1'700'000'000;
  message.num_10 = 2;
  message.num_11 = 1;
  message.num_12 = 2048;
  message.flag_13 = 1;
  message.num_14 = 4;
  message.flag_15 = 0;
  message.flag_16 = 1;
  message.text_17 = text("subject");
  message.text_18 = text("+15550100");
  message.text_19 = text("phone-12");
  message.address_list = &addresses;
  message.content_list = &parts_after_missing;

  EXPECT_EQ(Json::parse(json_of(message)), Json::parse(R"({
    "message_id": 12, "thread_id": 3, "type": "mms", "direction": "incoming", "delivery": "failed",
    "time": "2023-11-14T22:13:20Z", "sender": "+15550100", "subject": "subject", "body": "body", "read": true,
    "locked": true, "blocked": false, "sim": 1, "size": 2048, "network_status": 77, "delivery_report": "received",
    "retrieval": "failed", "exported": true, "phone_id": "phone-12", "network_store": null,
    "addresses": [{"address_id": 4, "kind": "email", "role": "cc", "own": true, "address": "a@b.example"}],
    "parts": [{"content_id": 5, "kind": "image", "mime_type": "image/png", "body": true, "on_device": false,
               "transfer": "done", "file_path": "/files/cat.png", "file_name": "cat.png",
               "thumbnail_path": "/files/cat-small.png", "part_id": "cat", "text": "a cat"}]})"));
}

TEST(RecordJson, AMessageOfTheNetworkStoreCarriesItsMetadata) {
  msg_nms_msg_meta_data_t meta{};
  meta.msg_id = 12;
  meta.meta_str1 = text("object");
  meta.meta_str2 = text("correlation");
  meta.meta_str3 = text("/inbox");
  meta.meta_str4 = text("https://store.example/1");
  meta.meta_int1 = 1;
  meta.meta_int2 = 2;
  meta.meta_int64_1 = 1'700'000'000'999;
  meta.meta_flag2 = true;
  msg_message_item_t message{};
  message.nms_meta = &meta;

  EXPECT_EQ(Json::parse(json_of(message)).at("network_store"), Json::parse(R"({
    "message_id": 12, "object_id": "object", "correlation_id": "correlation", "folder": "/inbox",
    "resource_url": "https://store.example/1", "sync": "required", "download": "running",
    "modified": "2023-11-14T22:13:20.999Z", "notified": null, "seen": false, "deleted": true, "correlated": false})"));
}

TEST(RecordJson, EmptyMetadataIsNone) {
  msg_nms_msg_meta_data_t meta{};
  meta.meta_str1 = text("");
  msg_message_item_t message{};
  message.nms_meta = &meta;
  EXPECT_EQ(Json::parse(json_of(message)).at("network_store"), nullptr);
}

TEST(RecordJson, AConversationEntryHasEveryMemberUnderItsName) {
  msg_conversation_view_t message{};
  message.msg_id = 12;
  message.num_2 = 1;
  message.text_3 = text("body");
  message.num_4 = 3;
  message.num_5 = 4;
  message.num_6 = 2;
  message.num_7 = 1;
  message.time_sec = 1'700'000'000;
  message.flag_9 = 1;
  message.num_10 = 1;
  message.text_11 = text("subject");
  message.text_12 = text("Ann");
  message.num_13 = 0;
  message.num_14 = 4;
  message.text_17 = text("+15550100");
  message.num_18 = 3;
  message.flag_19 = 1;

  EXPECT_EQ(Json::parse(json_of(message)), Json::parse(R"({
    "message_id": 12, "thread_id": 3, "type": "sms", "direction": "outgoing", "delivery": "delivered",
    "time": "2023-11-14T22:13:20Z", "sender": "+15550100", "sender_name": "Ann", "subject": "subject",
    "body": "body", "read": true, "locked": false, "blocked": true, "sim": 1, "size": 4,
    "delivery_report": "requested", "retrieval": "done", "exported": false, "phone_id": null, "parts": []})"));
}

TEST(RecordJson, AThreadHasEveryMemberUnderItsName) {
  msg_thread_view_t thread{};
  thread.thread_id = 3;
  thread.text_2 = text("Climbers");
  thread.text_3 = text("On my way");
  thread.text_4 = text("group-1");
  thread.time_sec = 1'700'000'000;
  thread.num_6 = 9;
  thread.num_7 = 2;
  thread.flag_8 = 1;
  thread.num_10 = 1;
  thread.num_11 = 3;
  thread.num_12 = 3;
  thread.num_13 = 5;
  thread.flag_14 = 1;
  thread.num_16 = 1;

  EXPECT_EQ(Json::parse(json_of(thread)), Json::parse(R"({
    "thread_id": 3, "title": "Climbers", "participants": 5, "group_chat_id": "group-1", "messages": 9, "unread": 2,
    "has_draft": false, "has_failed": true,
    "last_message": {"text": "On my way", "time": "2023-11-14T22:13:20Z", "type": "group-chat",
                     "direction": "draft", "delivery": "queued", "sim": 1}})"));
}

TEST(RecordJson, AnEmptyRecordIsWhole) {
  const Json json = Json::parse(json_of(msg_message_item_t{}));
  EXPECT_EQ(json.at("body"), "");
  EXPECT_EQ(json.at("type"), "unknown-0");
  EXPECT_EQ(json.at("phone_id"), nullptr);
  EXPECT_EQ(json.at("addresses"), Json::array());
}

TEST(RecordJson, TakesOneLineAndReplacesWhatIsNotUtf8) {
  msg_message_item_t message{};
  message.text_3 = text("a\nb\xff");
  const std::string line = json_of(message);
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_EQ(Json::parse(line).at("body"), "a\nb\uFFFD");
}

}  // namespace
}  // namespace msgctl
