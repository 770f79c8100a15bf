// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/msg-serialize.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include <msg-consumer-platform/releaser.hpp>

#include "named-row.hpp"
#include "public-records.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "schema/serialized-record.hpp"

namespace msg_consumer::schema {
namespace {

using Json = nlohmann::json;

const NmsMsgMeta& sample() {
  static const NmsMsgMeta meta = test::sample<NmsMsgMeta>();
  return meta;
}

std::string sample_text() { return encode_nms_meta(test::public_record(sample())).value(); }

TEST(SerializedNmsMeta, ComesBackInTheStoresMembers) {
  const auto meta = decode_nms_meta(sample_text());
  ASSERT_TRUE(meta);
  EXPECT_TRUE(*meta == sample());
}

TEST(SerializedNmsMeta, EachFlagAndStateComesBackInItsOwnMember) {
  for (int set = 0; set < 5; ++set) {
    NmsMsgMeta meta;
    meta.msgId = set == 3 ? INT_MIN : INT_MAX;
    meta.metaFlag1 = set == 0;
    meta.metaFlag2 = set == 1;
    meta.metaFlag3 = set == 2;
    meta.metaInt1 = set == 3 ? 3 : 0;
    meta.metaInt2 = set == 4 ? 4 : 0;
    meta.metaInt64_1 = set == 3 ? INT64_MAX : INT64_MIN;
    meta.metaInt64_2 = set == 4 ? INT64_MAX : INT64_MIN;
    const auto read = decode_nms_meta(encode_nms_meta(test::public_record(meta)).value());
    ASSERT_TRUE(read) << set;
    EXPECT_TRUE(*read == meta) << set;
  }
}

TEST(SerializedNmsMeta, HoldsEveryMemberOfThePublicRecord) {
  const Json json = Json::parse(sample_text());
  EXPECT_EQ(json.size(), 12U + 1) << "all members, and the version";
  EXPECT_EQ(json.at("version"), SERIALIZED_RECORD_VERSION);
}

TEST(SerializedNmsMeta, ANullTextIsReadAsAnEmptyOne) {
  msg_nms_msg_meta_data_t record = test::public_record(sample());
  record.meta_str1 = record.meta_str2 = record.meta_str3 = record.meta_str4 = nullptr;
  const auto read = decode_nms_meta(encode_nms_meta(record).value());
  ASSERT_TRUE(read);
  NmsMsgMeta expected = sample();
  for (auto* text : {&expected.metaStr1, &expected.metaStr2, &expected.metaStr3, &expected.metaStr4}) text->clear();
  EXPECT_TRUE(*read == expected);
}

TEST(SerializedNmsMeta, TextThatIsNotUtf8OrTooLongIsNotEncoded) {
  for (const auto& text : {std::string("abc\xFF"), std::string(MAX_SERIALIZED_SIZE, 'x')}) {
    NmsMsgMeta meta = sample();
    meta.metaStr4 = text;
    EXPECT_EQ(encode_nms_meta(test::public_record(meta)), std::nullopt);
  }
}

TEST(SerializedNmsMeta, IsNoMessage) {
  EXPECT_FALSE(decode_message(sample_text()));
  const Message message = test::sample<Message>();
  EXPECT_FALSE(decode_nms_meta(encode_message(test::PublicMessage(message).record).value()));
}

struct Change {
  const char* name;
  void (*apply)(Json& json);
};

void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }

class ChangedNmsMeta : public testing::TestWithParam<Change> {};

TEST_P(ChangedNmsMeta, IsRefused) {
  Json json = Json::parse(sample_text());
  GetParam().apply(json);
  EXPECT_FALSE(decode_nms_meta(json.dump()));
}

const Change CHANGES[] = {
    {"NoVersion", [](Json& j) { j.erase("version"); }},
    {"OtherVersion", [](Json& j) { j["version"] = 2; }},
    {"VersionZero", [](Json& j) { j["version"] = 0; }},
    {"VersionAsText", [](Json& j) { j["version"] = "1"; }},
    {"VersionNull", [](Json& j) { j["version"] = nullptr; }},
    {"MissingNumber", [](Json& j) { j.erase("msg_id"); }},
    {"MissingText", [](Json& j) { j.erase("meta_str4"); }},
    {"MissingFlag", [](Json& j) { j.erase("meta_flag1"); }},
    {"UnknownMember", [](Json& j) { j["extra"] = 1; }},
    {"UnknownForAKnownOne",
     [](Json& j) {
       j.erase("meta_int1");
       j["meta_int3"] = 1;
     }},
    {"NumberAsText", [](Json& j) { j["msg_id"] = "2"; }},
    {"NumberWithFraction", [](Json& j) { j["meta_int64_1"] = 2.0; }},
    {"NumberAsBoolean", [](Json& j) { j["meta_int1"] = true; }},
    {"NumberAsNull", [](Json& j) { j["meta_int2"] = nullptr; }},
    {"TextAsNumber", [](Json& j) { j["meta_str1"] = 1; }},
    {"TextAsList", [](Json& j) { j["meta_str1"] = Json::array(); }},
    {"TextWithNul", [](Json& j) { j["meta_str2"] = std::string("a\0b", 3); }},
    {"FlagAsNumber", [](Json& j) { j["meta_flag2"] = 1; }},
    {"FlagAsNull", [](Json& j) { j["meta_flag3"] = nullptr; }},
    {"Above32Bits", [](Json& j) { j["msg_id"] = INT64_C(1) << 31; }},
    {"Below32Bits", [](Json& j) { j["msg_id"] = -(INT64_C(1) << 31) - 1; }},
    {"Above64Bits", [](Json& j) { j["meta_int64_2"] = UINT64_C(1) << 63; }},
    {"SyncStateNegative", [](Json& j) { j["meta_int1"] = -1; }},
    {"SyncStateFour", [](Json& j) { j["meta_int1"] = 4; }},
    {"DownloadStateNegative", [](Json& j) { j["meta_int2"] = -1; }},
    {"DownloadStateFive", [](Json& j) { j["meta_int2"] = 5; }},
    {"TooLong", [](Json& j) { j["meta_str3"] = std::string(MAX_SERIALIZED_SIZE, 'x'); }},
};

INSTANTIATE_TEST_SUITE_P(Changes, ChangedNmsMeta, testing::ValuesIn(CHANGES), test::name_of_row);

struct HostileText {
  const char* name;
  std::string text;
};

void PrintTo(const HostileText& hostile, std::ostream* out) { *out << hostile.name; }

class HostileNmsMeta : public testing::TestWithParam<HostileText> {};

TEST_P(HostileNmsMeta, IsRefused) { EXPECT_FALSE(decode_nms_meta(GetParam().text)); }

std::string with_replaced(std::string_view part, std::string_view replacement) {
  std::string text = sample_text();
  return text.replace(text.find(part), part.size(), replacement);
}

std::string with_prefix(const std::string& members) { return "{" + members + "," + sample_text().substr(1); }

TEST(SerializedNmsMeta, TheHostileTextsAreWrongInWhatTheySay) {
  EXPECT_TRUE(decode_nms_meta(with_replaced("\"/folder\"", "\"/other\"")));
  EXPECT_TRUE(decode_nms_meta(with_replaced("\"msg_id\":301", "\"msg_id\":302")));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileNmsMeta,
    testing::Values(
        HostileText{"Empty", ""}, HostileText{"NotJson", "{"}, HostileText{"Number", "1"}, HostileText{"List", "[]"},
        HostileText{"ListOfOne", "[" + sample_text() + "]"}, HostileText{"EmptyObject", "{}"},
        HostileText{"Null", "null"}, HostileText{"OnlyTheVersion", "{\"version\":1}"},
        HostileText{"TextBehindTheEnd", sample_text() + "x"}, HostileText{"NulBehindTheEnd", sample_text() + '\0'},
        HostileText{"Twice", sample_text() + sample_text()},
        HostileText{"RepeatedMember", with_prefix("\"msg_id\":301")},
        HostileText{"RepeatedMemberWithAnEscape", with_prefix("\"msg_\\u0069d\":301")},
        HostileText{"RepeatedVersion", with_prefix("\"version\":1")},
        HostileText{"NumberTooLarge", with_replaced("\"msg_id\":301", "\"msg_id\":1e999")},
        HostileText{"Deep", std::string(1'000'000, '[') + std::string(1'000'000, ']')},
        HostileText{"DeepInAMember", with_replaced("\"/folder\"", std::string(100, '[') + std::string(100, ']'))},
        HostileText{"NotUtf8", with_replaced("\"/folder\"", "\"\xFF\"")},
        HostileText{"LoneSurrogate", with_replaced("\"/folder\"", "\"\\ud800\"")}),
    test::name_of_row);

// The exported function.

TEST(MsgSerializeNmsMsgMeta, GivesATextToBeFreed) {
  const msg_nms_msg_meta_data_t record = test::public_record(sample());
  char* buffer = nullptr;
  const int length = msg_serialize_nms_msg_meta(&record, &buffer);
  const Owned<char, std::free> text(buffer);
  ASSERT_GT(length, 0);
  EXPECT_EQ(std::strlen(text.get()), static_cast<std::size_t>(length));
  EXPECT_EQ(std::string(text.get()), sample_text());
}

TEST(MsgSerializeNmsMsgMeta, AFailureLeavesTheOutputAlone) {
  const msg_nms_msg_meta_data_t good = test::public_record(sample());
  NmsMsgMeta meta = sample();
  meta.metaStr3 = "\xFF";
  const msg_nms_msg_meta_data_t bad = test::public_record(meta);
  char untouched = 'x';
  char* text = &untouched;
  EXPECT_LE(msg_serialize_nms_msg_meta(nullptr, &text), 0);
  EXPECT_LE(msg_serialize_nms_msg_meta(&good, nullptr), 0);
  EXPECT_LE(msg_serialize_nms_msg_meta(&bad, &text), 0);
  EXPECT_EQ(text, &untouched);
}

}  // namespace
}  // namespace msg_consumer::schema
