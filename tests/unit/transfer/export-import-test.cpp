// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <regex>

#include "transfer-test.hpp"

namespace msg_consumer::service::transfer {
namespace {

using testing::HasSubstr;
using testing::Not;

Message queued(const std::string& text) {
  Message message = sms(text);
  message.num_e = DIRECTION_OUTGOING;
  message.num_f = DELIVERY_QUEUED;
  message.str_p.clear();
  message.addresses.front().num_c = ROLE_TO;
  return message;
}

NmsMsgMeta metadata(int message_id, const std::string& object_id) {
  NmsMsgMeta meta;
  meta.msgId = message_id;
  meta.metaStr1 = object_id;
  meta.metaStr2 = "correlation";
  meta.metaStr3 = "/folder";
  meta.metaStr4 = "http://example/1";
  meta.metaInt64_1 = 1'700'000'000'001;
  meta.metaInt64_2 = 2;
  meta.metaInt1 = 1;
  meta.metaInt2 = 4;
  meta.metaFlag1 = meta.metaFlag3 = true;
  return meta;
}

// One of everything, with holes in the ids.
void fill(TestStore& store) {
  Message full = sms("Grüße, 你好 \U0001F600 \"quoted\"\n\ttext");
  full.flag_k = full.flag_l = full.flag_r = full.flag_j = 1;
  full.subType = 7;  // A word that there is none for.
  full.networkStatus = -3;
  full.num_h = 2;
  full.num_m = 2;
  full.num_n = 4;
  full.str_o = "subject";
  full.str_s = "phone-1";
  full.addresses.emplace_back().address = "me@example.org";
  full.addresses.back().flag_e = 1;
  full.addresses.back().num_c = ROLE_CC;
  store.add(full);
  const int gone = store.add(sms("deleted"));
  Message mms = sms("look");
  mms.num_c = TYPE_MMS;
  append_text_part(mms);
  store.add_with_file(mms, "cat.png", std::string(500'000, 'c') + std::string("\0\xff", 2));
  store.add_with_file(mms, "empty.bin", "");
  Message draft = sms("");
  draft.num_e = DIRECTION_DRAFT;
  draft.time_ms = -5;
  store.add(draft, {"a@example.org", "+1 555 0101"});
  store.store.transact([&] {
    Message chat = sms("hello all");
    chat.num_c = TYPE_GROUP_CHAT;
    chat.num_b =
        store.store.threads().make_group({"+15550100", "+15550102"}, {.chat_id = "chat-1", .title = "Friends"});
    StoredMessage stored{.message = chat, .sender_name = ""};
    store.store.messages().insert(stored);
    store.store.threads().make_group({"+15550100", "+15550102"}, {.chat_id = "", .title = "Nobody spoke"});
    store.store.nms_box().put(metadata(1, "b"));
    store.store.nms_box().put(metadata(1, "a"));
    store.store.nms_box().put(metadata(gone, "gone"));
    store.store.nms_box().put(metadata(0, "unknown"));
    store.store.nms_box().subscribe(18'000'000'000'000'000'000U, "token");
    store.store.messages().remove(store.store.messages().get(gone).message);
  });
}

class Transferred : public testing::Test {
 protected:
  TestStore _from;
  TestStore _to;
};

TEST_F(Transferred, AnEmptyStoreHasAFirstAndALastLine) {
  const auto lines = lines_of(_from.exported());
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(Json::parse(lines[0]).at("version"), 1);
  EXPECT_EQ(Json::parse(lines[1]).at("kind"), "end");
}

TEST_F(Transferred, AnEmptyStoreBecomesAnEqualOneRecordByRecord) {
  fill(_from);
  const std::string text = _from.exported();
  const Json summary = _to.import(text);
  EXPECT_EQ(summary.at("complete"), true) << summary;
  EXPECT_EQ(summary.at("ids_kept"), true);
  EXPECT_EQ(lines_of(_to.exported()), lines_of(text));
  const auto counts = "SELECT sum(message_count * 1000000 + unread_count * 1000 + last_message_id) FROM thread";
  EXPECT_EQ(_to.ask(counts), _from.ask(counts));
  EXPECT_EQ(_to.ask("SELECT object_id = 'b' FROM nms_meta JOIN message ON nms_meta.id = nms_meta_id"), 1)
      << "what was added first is shown";
}

TEST_F(Transferred, TheSecondTimeNothingIsAdded) {
  fill(_from);
  const std::string text = _from.exported();
  _to.import(text);
  const auto announced = _to.announcements.all.size();
  const Json again = _to.import(text);
  EXPECT_EQ(again.at("complete"), true) << again;
  EXPECT_EQ(again.at("messages"), Json::parse(R"({"added":0,"present":5})"));
  EXPECT_EQ(again.at("metadata").at("added"), 0);
  EXPECT_EQ(again.at("threads").at("added"), 0);
  EXPECT_EQ(again.at("subscription"), Json::parse(R"({"added":0,"present":1})"));
  EXPECT_EQ(_to.announcements.all.size(), announced);
  EXPECT_EQ(lines_of(_to.exported()), lines_of(text));
}

TEST_F(Transferred, IntoAFilledStoreEverythingGetsNewIds) {
  fill(_from);
  _to.add(sms("was here before", 5));
  const Json summary = _to.import(_from.exported());
  EXPECT_EQ(summary.at("ids_kept"), false);
  EXPECT_EQ(summary.at("messages").at("added"), 5);
  EXPECT_EQ(summary.at("threads"), Json::parse(R"({"added":3,"present":1})"));
  EXPECT_EQ(_to.ask("SELECT count(*) FROM message"), 6);
  EXPECT_EQ(_to.ask("SELECT count(*) FROM nms_meta JOIN message ON message.id = message_id"), 2);
  EXPECT_EQ(_to.ask("SELECT message_id FROM nms_meta WHERE object_id = 'gone'"), 0)
      << "the number of a message that is gone must not become another's";
}

TEST_F(Transferred, TwoEqualMessagesAreTwoAndStayTwo) {
  _from.add(sms("twice"));
  _from.add(sms("twice"));
  const std::string text = _from.exported();
  _to.add(sms("twice"));
  EXPECT_EQ(_to.import(text).at("messages"), Json::parse(R"({"added":1,"present":1})"));
  EXPECT_EQ(_to.import(text).at("messages"), Json::parse(R"({"added":0,"present":2})"));
}

TEST_F(Transferred, AFileMakesADifference) {
  Message mms = sms("look");
  mms.num_c = TYPE_MMS;
  _from.add_with_file(mms, "cat.png", "one");
  _to.add_with_file(mms, "cat.png", "two");
  EXPECT_EQ(_to.import(_from.exported()).at("messages").at("added"), 1);
  EXPECT_EQ(_to.import(_from.exported()).at("messages").at("added"), 0);
}

TEST_F(Transferred, WhatWasOnItsWayIsNotSentAgain) {
  _from.add(queued("on its way"));
  const Json summary = _to.import(_from.exported());
  EXPECT_EQ(summary.at("not_sent"), 1);
  EXPECT_EQ(_to.ask("SELECT delivery FROM message"), DELIVERY_FAILED);
  EXPECT_EQ(_to.ask("SELECT failed_count FROM thread"), 1);
}

TEST_F(Transferred, AFileNameLeadsNowhere) {
  _from.add_with_file(sms("look"), "cat.png", "bytes");
  const std::string text = std::regex_replace(_from.exported(), std::regex("cat\\.png"), "../../../evil");
  EXPECT_EQ(_to.import(text).at("complete"), true);
  const std::optional<StoredMessage> stored = _to.store.messages().find(1);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->message.contents.front().str_h, "../../../evil");
  EXPECT_EQ(stored->message.contents.front().str_g, "1/1-.._.._.._evil");
  EXPECT_EQ(test::read_file(_to.folder.file("files/1/1-.._.._.._evil")), "bytes");
}

TEST_F(Transferred, ADamagedMessageCostsNoOther) {
  const int damaged = _from.add(sms("damaged"));
  _from.add(sms("whole"));
  _from.store.transact([&] { _from.store.nms_box().put(metadata(damaged, "kept")); });
  schema::execute(_from.store.database(), "UPDATE message SET packed = x'01' WHERE id = 1");
  std::string summary;
  const std::string text = _from.exported(&summary);
  EXPECT_EQ(Json::parse(summary).at("damaged_message_ids"), Json::array({damaged}));
  const Json imported = _to.import(text);
  EXPECT_EQ(imported.at("complete"), true) << imported;
  EXPECT_EQ(imported.at("messages").at("added"), 1);
  EXPECT_EQ(imported.at("metadata").at("added"), 1);
}

TEST_F(Transferred, TextThatIsNotUtf8IsMended) {
  _from.add(sms("fine"));
  schema::execute(_from.store.database(), "UPDATE thread SET title = CAST(x'41ff42' AS TEXT)");
  std::string summary;
  const std::string text = _from.exported(&summary);
  EXPECT_EQ(Json::parse(summary).at("mended_lines"), 1);
  EXPECT_THAT(text, HasSubstr("A\uFFFDB"));
  EXPECT_EQ(_to.import(text).at("complete"), true);
}

TEST_F(Transferred, AMissingFileIsToldAndTheMessageStays) {
  _from.add_with_file(sms("look"), "cat.png", "bytes");
  std::filesystem::remove_all(_from.folder.path() / "files" / "1");
  std::string summary;
  const std::string text = _from.exported(&summary);
  EXPECT_EQ(Json::parse(summary).at("files_missing"), 1);
  EXPECT_EQ(_to.import(text).at("messages").at("added"), 1);
}

TEST_F(Transferred, WithoutAThreadTheCorrespondentsSayWhere) {
  const std::string text =
      "{\"kind\":\"store\",\"version\":1}\n"
      R"({"kind":"message","type":"sms","direction":"incoming","time_ms":5,"sender":"+15550100","text":"hi"})"
      "\n{\"kind\":\"end\",\"threads\":0,\"messages\":1,\"metadata\":0}";
  EXPECT_EQ(_to.import(text).at("complete"), true);
  EXPECT_EQ(_to.ask("SELECT count(*) FROM thread WHERE title = '+15550100'"), 1);
}

TEST_F(Transferred, AFullDiskLeavesWhatWasCommitted) {
  for (int i = 0; i < 600; ++i) _from.add(sms("message " + std::to_string(i), i));
  const std::string text = _from.exported();
  const std::int64_t pages = _to.ask("PRAGMA page_count");
  schema::execute(_to.store.database(), ("PRAGMA max_page_count = " + std::to_string(pages + 20)).c_str());
  const Json summary = _to.import(text);
  EXPECT_EQ(summary.at("complete"), false);
  EXPECT_EQ(summary.at("error").at("reason"), "store-full");
  const std::int64_t added = summary.at("messages").at("added");
  EXPECT_GT(added, 0);
  EXPECT_LT(added, 600);
  EXPECT_EQ(_to.ask("SELECT count(*) FROM message"), added);
  schema::execute(_to.store.database(), "PRAGMA max_page_count = 1000000");
  const Json rest = _to.import(text);
  EXPECT_EQ(rest.at("messages").at("present"), added);
  EXPECT_EQ(_to.ask("SELECT count(*) FROM message"), 600);
}

struct Break {
  const char* name;
  std::function<void(std::vector<std::string>&)> edit;  // of the lines: store, thread, message, message, data, end
  int line;
  const char* member;
  int messages;  // that come before it
};

std::ostream& operator<<(std::ostream& out, const Break& row) { return out << row.name; }

void replace(std::string& line, const std::string& what, const std::string& with) {
  const std::size_t found = line.find(what);
  ASSERT_NE(found, std::string::npos) << what;
  line.replace(found, what.size(), with);
}

class Broken : public Transferred, public testing::WithParamInterface<Break> {};

TEST_P(Broken, IsToldByItsPlaceAndWhatWasBeforeStays) {
  _from.add(sms("first"));
  _from.add_with_file(sms("second"), "cat.png", "bytes");
  auto lines = lines_of(_from.exported());
  ASSERT_EQ(lines.size(), 6U);
  GetParam().edit(lines);
  const Json summary = _to.import(joined(lines));
  EXPECT_EQ(summary.at("complete"), false);
  const Json& error = summary.at("error");
  EXPECT_EQ(error.at("reason"), "broken");
  EXPECT_EQ(error.at("line"), GetParam().line) << error;
  EXPECT_EQ(error.at("member"), GetParam().member) << error;
  EXPECT_EQ(_to.ask("SELECT count(*) FROM message"), GetParam().messages);
  EXPECT_EQ(summary.at("messages").at("added"), GetParam().messages);
  // Nothing half-done lies about.
  std::size_t folders = 0;
  for (const auto& entry : std::filesystem::directory_iterator(_to.folder.path() / "files"))
    folders += entry.is_directory() ? 1 : 0;
  EXPECT_EQ(folders, GetParam().messages == 2 ? 1U : 0U);
}

const Break BREAKS[] = {
    {"CutBeforeItsEnd", [](auto& lines) { lines.pop_back(); }, 6, "", 2},
    {"CutInItsData", [](auto& lines) { lines.resize(4); }, 5, "", 1},
    {"CutInALine", [](auto& lines) { lines.resize(4), lines[3].resize(40); }, 4, "", 1},
    {"NoJson", [](auto& lines) { lines[3] = "oops"; }, 4, "", 1},
    {"AnEmptyLine", [](auto& lines) { lines[3] = ""; }, 4, "", 1},
    {"AnArray", [](auto& lines) { lines[3] = "[]"; }, 4, "", 1},
    {"NoFirstLine", [](auto& lines) { lines.erase(lines.begin()); }, 1, "kind", 0},
    {"TwoFirstLines", [](auto& lines) { lines.insert(lines.begin(), lines[0]); }, 2, "kind", 0},
    {"ANewerVersion", [](auto& lines) { replace(lines[0], "\"version\":1", "\"version\":2"); }, 1, "version", 0},
    {"AnUnknownKind", [](auto& lines) { replace(lines[3], "\"message\"", "\"massage\""); }, 4, "kind", 1},
    {"AnUnknownMember", [](auto& lines) { replace(lines[3], "\"sim\"", "\"sin\""); }, 4, "", 1},
    {"AnUnknownWord", [](auto& lines) { replace(lines[3], "\"incoming\"", "\"sideways\""); }, 4, "direction", 1},
    {"AMissingTime", [](auto& lines) { replace(lines[3], "\"time_ms\":1700000000123,", ""); }, 4, "time_ms", 1},
    {"AFractionalTime", [](auto& lines) { replace(lines[3], "1700000000123", "1.5"); }, 4, "time_ms", 1},
    {"ATooLargeNumber", [](auto& lines) { replace(lines[3], "\"sim\":0", "\"sim\":99999999999"); }, 4, "sim", 1},
    {"ANulInAText", [](auto& lines) { replace(lines[3], "\"second\"", "\"a\\u0000b\""); }, 4, "text", 1},
    {"AnUnknownThread", [](auto& lines) { replace(lines[3], "\"thread\":1", "\"thread\":9"); }, 4, "thread", 1},
    {"TheSameThreadTwice", [](auto& lines) { lines.insert(lines.begin() + 2, lines[1]); }, 3, "id", 0},
    {"ABrokenPart", [](auto& lines) { replace(lines[3], "\"image\"", "7"); }, 4, "parts[0].kind", 1},
    {"ATooLargeFile", [](auto& lines) { replace(lines[3], "\"file_size\":5", "\"file_size\":500000000"); }, 4, "parts",
     1},
    {"BadBase64", [](auto& lines) { replace(lines[4], "Ynl0", "Yn!0"); }, 5, "base64", 1},
    {"TooMuchData", [](auto& lines) { replace(lines[3], "\"file_size\":5", "\"file_size\":4"); }, 5, "base64", 1},
    {"TooLittleData", [](auto& lines) { replace(lines[3], "\"file_size\":5", "\"file_size\":6"); }, 6, "kind", 1},
    {"DataForNothing", [](auto& lines) { lines.insert(lines.begin() + 3, lines[4]); }, 4, "base64", 1},
    {"MoreThanItsEnd", [](auto& lines) { lines.push_back(lines[2]); }, 7, "kind", 2},
    {"AnotherCount", [](auto& lines) { replace(lines[5], "\"messages\":2", "\"messages\":3"); }, 6, "", 2},
    {"ALineWithoutEnd", [](auto& lines) { lines[3] = std::string(MAX_LINE_SIZE + 1, ' '); }, 4, "", 1},
};

INSTANTIATE_TEST_SUITE_P(Files, Broken, testing::ValuesIn(BREAKS), [](const auto& row) { return row.param.name; });

TEST_F(Transferred, ABrokenLineIsNeverQuoted) {
  const Json summary = _to.import("{\"kind\":\"store\",\"version\":1}\n{\"secret\n");
  EXPECT_EQ(summary.at("error").at("column"), 9);
  EXPECT_THAT(summary.dump(), Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace msg_consumer::service::transfer
