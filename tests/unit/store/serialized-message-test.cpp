// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/msg-serialize.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>

#include "named-row.hpp"
#include "record-compare.hpp"
#include "schema/serialized-record.hpp"

namespace msg_consumer::schema {
namespace {

using Json = nlohmann::json;

/// A public message with an address, a part, and metadata of both, whose members all have values of their own.
class PublicMessage {
 public:
  PublicMessage() {
    _address = {.num_1 = 11, .num_2 = 2, .num_3 = 3, .flag_4 = 1, .address = text("bob@example.org")};
    _content_meta = {
        .num_1 = 21, .num_2 = 22, .text_3 = text("t3"), .text_4 = text("t4"), .text_5 = text("t5"), .num_6 = 26};
    _content.content_id = 31;
    _content.num_2 = 32;
    _content.kind = 4;
    _content.flag_4 = 1;
    _content.flag_5 = 1;
    _content.status = 2;
    _content.text_7 = text("/path");
    _content.text_8 = text("name");
    _content.text_9 = text("/thumbnail");
    _content.text_10 = text("image/png");
    _content.text_11 = text("<cid>");
    _content.text_12 = text("part text");
    _content.nms_content_meta = &_content_meta;
    _meta = {.msg_id = 41,
             .meta_str1 = text("object"),
             .meta_str2 = text("correlation"),
             .meta_str3 = text("folder"),
             .meta_str4 = text("url"),
             .meta_int1 = 3,
             .meta_int2 = 4,
             .meta_int64_1 = INT64_MAX,
             .meta_int64_2 = INT64_MIN,
             .meta_flag1 = true,
             .meta_flag2 = false,
             .meta_flag3 = true};
    message.msg_id = 51;
    message.num_2 = 2;
    message.text_3 = text("body \"quoted\" \n \u4F60\U0001F44D");
    message.num_4 = 52;
    message.num_5 = 1;
    message.num_6 = 5;
    message.network_status = INT_MIN;
    message.flag_8 = 1;
    message.time_sec = -7;
    message.num_10 = 2;
    message.num_11 = 53;
    message.num_12 = INT_MAX;
    message.flag_13 = 1;
    message.num_14 = 4;
    message.flag_15 = 1;
    message.flag_16 = 0;
    message.text_17 = text("subject");
    message.text_18 = text("sender");
    message.text_19 = text("phone-1");
    message.address_list = &_address_node;
    message.content_list = &_content_node;
    message.nms_meta = &_meta;
  }
  PublicMessage(const PublicMessage&) = delete;
  PublicMessage& operator=(const PublicMessage&) = delete;
  ~PublicMessage() = default;

  msg_message_item_t message = {};
  msg_content_item_t& content() { return _content; }
  GSList& address_node() { return _address_node; }

 private:
  // Literals: nobody writes through the records.
  static char* text(const char* literal) { return const_cast<char*>(literal); }

  msg_address_item_t _address = {};
  msg_nms_content_meta_t _content_meta = {};
  msg_content_item_t _content = {};
  msg_nms_msg_meta_data_t _meta = {};
  GSList _address_node = {&_address, nullptr};
  GSList _content_node = {&_content, nullptr};
};

Message expected_message() {
  Message message;
  message.id = 51;
  message.num_c = 2;
  message.str_d = "body \"quoted\" \n \u4F60\U0001F44D";
  message.num_b = 52;
  message.num_e = 1;
  message.num_f = 5;
  message.networkStatus = INT_MIN;
  message.flag_j = 1;
  message.time_ms = -7000;
  message.num_m = 2;
  message.num_h = 53;
  message.num_q = INT_MAX;
  message.flag_r = 1;
  message.num_n = 4;
  message.flag_l = 1;
  message.flag_k = 0;
  message.str_o = "subject";
  message.str_p = "sender";
  message.str_s = "phone-1";
  Address address;
  address.num_a = 11;
  address.num_b = 2;
  address.num_c = 3;
  address.flag_e = 1;
  address.address = "bob@example.org";
  message.addresses = {address};
  Content content;
  content.id = 31;
  content.num_b = 32;
  content.kind = 4;
  content.flag_c = 1;
  content.flag_d = 1;
  content.status = Content::STATUS_RUNNING;
  content.str_g = "/path";
  content.str_h = "name";
  content.str_i = "/thumbnail";
  content.str_e = "image/png";
  content.str_j = "<cid>";
  content.str_l = "part text";
  message.contents = {content};
  auto& meta = message.nms_meta;
  meta.msgId = 41;
  meta.metaStr1 = "object";
  meta.metaStr2 = "correlation";
  meta.metaStr3 = "folder";
  meta.metaStr4 = "url";
  meta.metaInt1 = 3;
  meta.metaInt2 = 4;
  meta.metaInt64_1 = INT64_MAX;
  meta.metaInt64_2 = INT64_MIN;
  meta.metaFlag1 = true;
  meta.metaFlag3 = true;
  return message;
}

TEST(SerializedMessage, ComesBackInTheStoresMembers) {
  const PublicMessage sample;
  const auto text = encode_message(sample.message);
  ASSERT_TRUE(text);
  const auto message = decode_message(*text);
  ASSERT_TRUE(message);
  EXPECT_TRUE(*message == expected_message());
}

TEST(SerializedMessage, HoldsEveryMemberOfThePublicRecord) {
  const PublicMessage sample;
  const Json json = Json::parse(encode_message(sample.message).value());
  EXPECT_EQ(json.size(), 22U + 1) << "all members, and the version";
  EXPECT_EQ(json.at("address_list").at(0).size(), 5U);
  EXPECT_EQ(json.at("content_list").at(0).size(), 14U);
  EXPECT_EQ(json.at("content_list").at(0).at("nms_content_meta").size(), 6U);
  EXPECT_EQ(json.at("content_list").at(0).at("nms_content_meta").at("text_5"), "t5");
  EXPECT_EQ(json.at("nms_meta").size(), 12U);
}

TEST(SerializedMessage, NullTextsAndListsAreKeptAsNull) {
  PublicMessage sample;
  sample.message.text_3 = nullptr;
  sample.message.text_19 = nullptr;
  sample.message.address_list = nullptr;
  sample.message.content_list = nullptr;
  sample.message.nms_meta = nullptr;
  const std::string text = encode_message(sample.message).value();
  EXPECT_TRUE(Json::parse(text).at("text_19").is_null());
  const auto message = decode_message(text);
  ASSERT_TRUE(message);
  EXPECT_EQ(message->str_d, "");
  EXPECT_EQ(message->str_s, "");
  EXPECT_TRUE(message->addresses.empty());
  EXPECT_TRUE(message->contents.empty());
  EXPECT_TRUE(message->nms_meta == NmsMsgMeta());
}

TEST(SerializedMessage, ATimeFitsIn64Bits) {
  PublicMessage sample;
  for (const int seconds : {INT_MAX, INT_MIN}) {
    sample.message.time_sec = seconds;
    EXPECT_EQ(decode_message(encode_message(sample.message).value())->time_ms, std::int64_t{seconds} * 1000);
  }
}

TEST(SerializedMessage, TextThatIsNotUtf8IsNotEncoded) {
  PublicMessage sample;
  std::string bad = "abc\xFF";
  sample.message.text_3 = bad.data();
  EXPECT_EQ(encode_message(sample.message), std::nullopt);
}

TEST(SerializedMessage, AListWithAMissingElementIsNotEncoded) {
  PublicMessage sample;
  sample.address_node().data = nullptr;
  EXPECT_EQ(encode_message(sample.message), std::nullopt);
}

TEST(SerializedMessage, AMessageLongerThanWhatIsDecodedIsNotEncoded) {
  PublicMessage sample;
  std::string text(MAX_SERIALIZED_SIZE, 'x');
  sample.message.text_3 = text.data();
  EXPECT_EQ(encode_message(sample.message), std::nullopt);
}

// Hostile texts: each is the sample with one thing changed.

struct Change {
  const char* name;
  void (*apply)(Json& json);
};

void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }

Json sample_json() {
  const PublicMessage sample;
  return Json::parse(encode_message(sample.message).value());
}

class ChangedMessage : public testing::TestWithParam<Change> {};

TEST_P(ChangedMessage, IsRefused) {
  Json json = sample_json();
  ASSERT_TRUE(decode_message(json.dump()));
  GetParam().apply(json);
  EXPECT_FALSE(decode_message(json.dump()));
}

const Change CHANGES[] = {
    {"NoVersion", [](Json& j) { j.erase("version"); }},
    {"OtherVersion", [](Json& j) { j["version"] = 2; }},
    {"VersionAsText", [](Json& j) { j["version"] = "1"; }},
    {"MissingMember", [](Json& j) { j.erase("text_19"); }},
    {"MissingList", [](Json& j) { j.erase("address_list"); }},
    {"UnknownMember", [](Json& j) { j["extra"] = 1; }},
    {"UnknownMemberInPart", [](Json& j) { j["content_list"][0]["extra"] = 1; }},
    {"UnknownMemberInPartMeta", [](Json& j) { j["content_list"][0]["nms_content_meta"]["extra"] = 1; }},
    {"MissingMemberInPartMeta", [](Json& j) { j["content_list"][0]["nms_content_meta"].erase("num_6"); }},
    {"MissingMemberInMeta", [](Json& j) { j["nms_meta"].erase("meta_flag3"); }},
    {"NumberAsText", [](Json& j) { j["num_2"] = "2"; }},
    {"NumberWithFraction", [](Json& j) { j["num_2"] = 2.0; }},
    {"NumberAsBoolean", [](Json& j) { j["num_2"] = true; }},
    {"NumberAsNull", [](Json& j) { j["num_2"] = nullptr; }},
    {"TextAsNumber", [](Json& j) { j["text_3"] = 1; }},
    {"TextWithNul", [](Json& j) { j["text_3"] = std::string("a\0b", 3); }},
    {"AddressNotAnObject", [](Json& j) { j["address_list"][0] = 1; }},
    {"AddressNull", [](Json& j) { j["address_list"][0] = nullptr; }},
    {"ListNull", [](Json& j) { j["content_list"] = nullptr; }},
    {"ListAsObject", [](Json& j) { j["content_list"] = Json::object(); }},
    {"MetaAsList", [](Json& j) { j["nms_meta"] = Json::array(); }},
    {"BooleanAsNumber", [](Json& j) { j["nms_meta"]["meta_flag1"] = 1; }},
    {"Above32Bits", [](Json& j) { j["msg_id"] = INT64_C(1) << 31; }},
    {"Below32Bits", [](Json& j) { j["msg_id"] = -(INT64_C(1) << 31) - 1; }},
    {"Above64Bits", [](Json& j) { j["nms_meta"]["meta_int64_1"] = UINT64_MAX; }},
    {"TypeZero", [](Json& j) { j["num_2"] = 0; }},
    {"TypeFour", [](Json& j) { j["num_2"] = 4; }},
    {"DirectionZero", [](Json& j) { j["num_5"] = 0; }},
    {"DirectionFour", [](Json& j) { j["num_5"] = 4; }},
    {"DeliveryNegative", [](Json& j) { j["num_6"] = -1; }},
    {"DeliverySix", [](Json& j) { j["num_6"] = 6; }},
    {"ReportThree", [](Json& j) { j["num_10"] = 3; }},
    {"SizeNegative", [](Json& j) { j["num_12"] = -1; }},
    {"RetrievalFive", [](Json& j) { j["num_14"] = 5; }},
    {"FlagTwo", [](Json& j) { j["flag_8"] = 2; }},
    {"WideFlagTwo", [](Json& j) { j["flag_13"] = 2; }},
    {"FlagNegative", [](Json& j) { j["flag_15"] = -1; }},
    {"AddressKindFour", [](Json& j) { j["address_list"][0]["num_2"] = 4; }},
    {"AddressRoleFour", [](Json& j) { j["address_list"][0]["num_3"] = 4; }},
    {"PartKindZero", [](Json& j) { j["content_list"][0]["kind"] = 0; }},
    {"PartKindSix", [](Json& j) { j["content_list"][0]["kind"] = 6; }},
    {"PartStatusFive", [](Json& j) { j["content_list"][0]["status"] = 5; }},
    {"ReservedNotZero", [](Json& j) { j["content_list"][0]["reserved_13"] = 1; }},
    {"SyncStateFour", [](Json& j) { j["nms_meta"]["meta_int1"] = 4; }},
    {"DownloadStateFive", [](Json& j) { j["nms_meta"]["meta_int2"] = 5; }},
    {"TooLong", [](Json& j) { j["text_3"] = std::string(MAX_SERIALIZED_SIZE, 'x'); }},
};

INSTANTIATE_TEST_SUITE_P(Changes, ChangedMessage, testing::ValuesIn(CHANGES), test::name_of_row);

struct HostileText {
  const char* name;
  std::string text;
};

void PrintTo(const HostileText& hostile, std::ostream* out) { *out << hostile.name; }

class HostileMessage : public testing::TestWithParam<HostileText> {};

TEST_P(HostileMessage, IsRefused) { EXPECT_FALSE(decode_message(GetParam().text)); }

std::string with_prefix(const std::string& members) { return "{" + members + "," + sample_json().dump().substr(1); }

std::string with_replaced(std::string_view part, std::string_view replacement) {
  std::string text = sample_json().dump();
  return text.replace(text.find(part), part.size(), replacement);
}

TEST(SerializedMessage, TheHostileTextsAreWrongInWhatTheySay) {
  EXPECT_TRUE(decode_message(with_replaced("\"subject\"", "\"other\"")));
  EXPECT_TRUE(decode_message(with_replaced("\"num_11\":53", "\"num_11\":54")));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileMessage,
    testing::Values(HostileText{"Empty", ""}, HostileText{"NotJson", "{"}, HostileText{"Number", "1"},
                    HostileText{"List", "[]"}, HostileText{"EmptyObject", "{}"}, HostileText{"Null", "null"},
                    HostileText{"TextBehindTheEnd", sample_json().dump() + "x"},
                    HostileText{"NulBehindTheEnd", sample_json().dump() + '\0'},
                    HostileText{"TextBehindANul", sample_json().dump() + '\0' + "x"},
                    HostileText{"RepeatedMember", with_prefix("\"msg_id\":51")},
                    HostileText{"RepeatedMemberWithAnEscape", with_prefix("\"msg_\\u0069d\":51")},
                    HostileText{"NumberTooLarge", with_replaced("\"num_11\":53", "\"num_11\":1e999")},
                    HostileText{"Deep", std::string(1'000'000, '[') + std::string(1'000'000, ']')},
                    HostileText{"DeepInAMember",
                                with_prefix("\"extra\":" + std::string(100, '[') + std::string(100, ']'))},
                    HostileText{"NotUtf8", with_replaced("\"subject\"", "\"\xFF\"")},
                    HostileText{"LoneSurrogate", with_replaced("\"subject\"", "\"\\ud800\"")}),
    test::name_of_row);

TEST(SerializedMessage, ManyMembersAreRefusedWithoutDelay) {
  std::string members;
  for (int i = 0; members.size() + 100 < MAX_SERIALIZED_SIZE - 4096; ++i)
    members += "\"m" + std::to_string(i) + "\":0,";
  members += "\"last\":0";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(decode_message(with_prefix(members)));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(SerializedMessage, MutatedTextsDoNoHarm) {
  const std::string original = sample_json().dump();
  std::mt19937 random(4);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  int refused = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string text = original;
    for (auto changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text[at] = static_cast<char>(random());
          break;
        case 1:
          text.erase(at, random() % 20);
          break;
        default:
          text.insert(at, original.substr(random() % original.size(), random() % 30));
          break;
      }
      if (text.empty()) text = "{";
    }
    refused += decode_message(text) ? 0 : 1;
  }
  EXPECT_GT(refused, 10'000);
}

// The exported function.

TEST(MsgSerializeMessage, GivesATextToBeFreed) {
  const PublicMessage sample;
  char* text = nullptr;
  const int length = msg_serialize_message(&sample.message, &text);
  ASSERT_GT(length, 0);
  EXPECT_EQ(std::strlen(text), static_cast<std::size_t>(length));
  EXPECT_EQ(std::string(text), encode_message(sample.message));
  std::free(text);
}

TEST(MsgSerializeMessage, AFailureLeavesTheOutputAlone) {
  PublicMessage sample;
  char untouched = 'x';
  char* text = &untouched;
  EXPECT_LE(msg_serialize_message(nullptr, &text), 0);
  EXPECT_LE(msg_serialize_message(&sample.message, nullptr), 0);
  std::string bad = "\xFF";
  sample.message.text_17 = bad.data();
  EXPECT_LE(msg_serialize_message(&sample.message, &text), 0);
  EXPECT_EQ(text, &untouched);
}

}  // namespace
}  // namespace msg_consumer::schema
