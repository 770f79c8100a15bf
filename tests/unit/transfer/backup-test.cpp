// SPDX-License-Identifier: Apache-2.0
// XML backups, converted into the lines that an import takes.
#include <gmock/gmock.h>

#include <sys/resource.h>

#include <algorithm>

#include "msgctl/backup/backup-message.hpp"
#include "msgctl/backup/xml-backup.hpp"
#include "msgctl/failure.hpp"
#include "transfer-test.hpp"

namespace msgctl {
namespace {

using msg_consumer::service::transfer::lines_of;
using msg_consumer::service::transfer::TestStore;
using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::json;

struct Conversion {
  std::string text;
  BackupCounts counts;

  /// The lines of a kind.
  [[nodiscard]] std::vector<Json> of(const std::string& kind) const {
    std::vector<Json> result;
    for (const std::string& line : lines_of(text)) {
      Json object = Json::parse(line);
      if (object.at("kind") == kind) result.push_back(std::move(object));
    }
    return result;
  }
};

// `text` outlives a failure, so that a test sees what came before it.
Conversion convert(const std::string& xml, std::string* text = nullptr) {
  Conversion conversion;
  std::size_t position = 0;
  const auto read = [&](char* buffer, std::size_t size) {
    const std::size_t count = std::min(size, xml.size() - position);
    std::copy_n(xml.data() + position, count, buffer);
    position += count;
    return count;
  };
  const auto write = [&](const std::string& line) {
    conversion.text += line;
    if (text != nullptr) *text += line;
    return true;
  };
  conversion.counts = convert_backup(read, write);
  return conversion;
}

std::string with_sms(const std::string& attributes) { return "<smses count=\"1\"><sms " + attributes + "/></smses>"; }

struct SmsRow {
  const char* name;
  const char* attributes;  // besides address, date and body
  const char* member;
  Json value;
};

std::ostream& operator<<(std::ostream& out, const SmsRow& row) { return out << row.name; }

class Sms : public testing::TestWithParam<SmsRow> {};

TEST_P(Sms, BecomesAMessage) {
  const Conversion conversion = convert(
      with_sms(std::string("address=\"+15550100\" date=\"1600000000123\" body=\"hi\" ") + GetParam().attributes));
  ASSERT_EQ(conversion.of("message").size(), 1U);
  EXPECT_EQ(conversion.of("message").front().at(GetParam().member), GetParam().value);
}

const SmsRow SMS_ROWS[] = {
    {"Received", "type=\"1\"", "direction", "incoming"},
    {"ReceivedSender", "type=\"1\"", "sender", "+15550100"},
    {"Sent", "type=\"2\" status=\"-1\"", "delivery", "sent"},
    {"SentDirection", "type=\"2\"", "direction", "outgoing"},
    {"SentAndDelivered", "type=\"2\" status=\"0\"", "delivery", "delivered"},
    {"SentAndFailed", "type=\"2\" status=\"64\"", "delivery", "failed"},
    {"Draft", "type=\"3\"", "direction", "draft"},
    {"Outbox", "type=\"4\"", "delivery", "queued"},
    {"Failed", "type=\"5\"", "delivery", "failed"},
    {"Queued", "type=\"6\"", "delivery", "queued"},
    {"Time", "type=\"1\"", "time_ms", 1600000000123},
    {"Read", "type=\"1\" read=\"1\"", "read", true},
    {"Unread", "type=\"1\" read=\"0\"", "read", false},
    {"Locked", "type=\"1\" locked=\"1\"", "locked", true},
    {"Sim", "type=\"1\" sub_id=\"2\"", "sim", 2},
    {"NoSim", "type=\"1\" sub_id=\"-1\"", "sim", 0},
    {"Subject", "type=\"1\" subject=\"about\"", "subject", "about"},
    {"NullSubject", "type=\"1\" subject=\"null\"", "subject", ""},
    {"Contact", "type=\"1\" contact_name=\"Ada\"", "sender_name", "Ada"},
    {"UnknownContact", "type=\"1\" contact_name=\"(Unknown)\"", "sender_name", ""},
};

INSTANTIATE_TEST_SUITE_P(Rows, Sms, testing::ValuesIn(SMS_ROWS), [](const auto& row) { return row.param.name; });

TEST(Backup, TakesSecondsForWhatTheyAre) {
  EXPECT_EQ(convert(with_sms("address=\"1\" type=\"1\" date=\"1600000000\"")).of("message").front().at("time_ms"),
            1600000000000);
}

TEST(Backup, JoinsSurrogatesInTexts) {
  const std::string xml = with_sms("address=\"1\" type=\"1\" date=\"5\" body=\"&#55357;&#56832;!\"");
  EXPECT_EQ(convert(xml).of("message").front().at("text"), "\U0001F600!");
}

TEST(Backup, CountsWhatItLeavesOutByReason) {
  const auto skipped = [](const char* attributes) { return convert(with_sms(attributes)).counts.skipped; };
  using Skipped = std::map<std::string, std::int64_t>;
  EXPECT_EQ(skipped("address=\"null\" type=\"1\" date=\"5\""), (Skipped{{"address", 1}}));
  EXPECT_EQ(skipped("address=\"1\" type=\"9\" date=\"5\""), (Skipped{{"type", 1}}));
  EXPECT_EQ(skipped("address=\"1\" type=\"1\" date=\"soon\""), (Skipped{{"date", 1}}));
}

constexpr const char* MMS =
    "<smses><mms date=\"1600000002000\" msg_box=\"1\" address=\"+1 555-0100~+15550105\" sub=\"about\" read=\"1\">"
    "<parts><part seq=\"-1\" ct=\"application/smil\" name=\"null\" text=\"&lt;smil/&gt;\"/>"
    "<part seq=\"0\" ct=\"image/png\" name=\"cat.png\" cid=\"&lt;cat&gt;\" data=\"aGVs\n bG8=\"/>"
    "<part seq=\"0\" ct=\"text/plain\" text=\"one\"/><part seq=\"0\" ct=\"text/plain\" text=\"two\"/></parts>"
    "<addrs><addr address=\"+15550100\" type=\"137\"/><addr address=\"+15559999\" type=\"151\"/>"
    "<addr address=\"+15550105\" type=\"130\"/><addr address=\"insert-address-token\" "
    "type=\"151\"/></addrs></mms></smses>";

TEST(Backup, AnMmsKeepsItsPartsAndAddresses) {
  const Conversion conversion = convert(MMS);
  const Json message = conversion.of("message").front();
  EXPECT_EQ(message.at("type"), "mms");
  EXPECT_EQ(message.at("sender"), "+15550100");
  EXPECT_EQ(message.at("subject"), "about");
  EXPECT_EQ(message.at("text"), "one\ntwo");
  ASSERT_EQ(message.at("parts").size(), 4U);
  EXPECT_EQ(message.at("parts")[1].at("file_size"), 5);
  EXPECT_EQ(message.at("parts")[1].at("part_id"), "cat");
  EXPECT_EQ(message.at("parts")[1].at("file_name"), "cat.png");
  EXPECT_EQ(message.at("addresses").size(), 3U);
  EXPECT_EQ(message.at("addresses")[1].at("own"), true) << "who takes no part in the thread is the device";
  EXPECT_EQ(message.at("addresses")[2].at("role"), "cc");
  EXPECT_EQ(conversion.of("data").front().at("base64"), "aGVsbG8=");
  EXPECT_EQ(conversion.of("thread").front().at("participants").size(), 2U);
}

TEST(Backup, DataThatIsNotBase64CostsItsMessageAlone) {
  std::string xml = MMS;
  xml.replace(xml.find("bG8="), 4, "b!8=");
  EXPECT_EQ(convert(xml).counts.skipped, (std::map<std::string, std::int64_t>{{"data", 1}}));
}

TEST(Backup, OneThreadForAllWritingsOfAnAddress) {
  const Conversion conversion = convert(
      "<smses><sms address=\"+1 (555) 0100\" type=\"1\" date=\"5\"/><sms address=\"+15550100\" type=\"2\" "
      "date=\"6\"/></smses>");
  EXPECT_EQ(conversion.of("thread").size(), 1U);
}

TEST(Backup, IsTakenByAnImportOnce) {
  TestStore store;
  const std::string text = convert(MMS).text;
  EXPECT_EQ(store.import(text).at("complete"), true);
  EXPECT_EQ(store.import(text).at("messages"), Json::parse(R"({"added":0,"present":1})"));
  EXPECT_EQ(store.ask("SELECT unread_count FROM thread"), 0);
}

struct BrokenRow {
  const char* name;
  const char* xml;
  const char* what;
  std::size_t messages;  // that come before it
};

std::ostream& operator<<(std::ostream& out, const BrokenRow& row) { return out << row.name; }

class BrokenBackup : public testing::TestWithParam<BrokenRow> {};

TEST_P(BrokenBackup, IsRefusedWithItsPlace) {
  std::string before;
  try {
    convert(GetParam().xml, &before);
    FAIL() << "nothing is wrong";
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr(GetParam().what));
    EXPECT_EQ(failure.code(), ExitCode::Refused);
  }
  const auto lines = lines_of(before);
  EXPECT_EQ(static_cast<std::size_t>(
                std::count_if(lines.begin(), lines.end(),
                              [](const std::string& line) { return line.starts_with("{\"kind\":\"message\""); })),
            GetParam().messages);
  EXPECT_THAT(before, testing::Not(HasSubstr("\"end\"")));
}

const BrokenRow BROKEN_ROWS[] = {
    {"Cut", "<smses>\n<sms address=\"1\" type=\"1\" date=\"5\"/>\n<sms addr", "line 3", 1},
    {"NoQuotes", "<smses>\n<sms address=\"1\" type=\"1\" date=\"5\"/>\n<sms address=1/></smses>", "line 3, column", 1},
    {"Empty", "", "broken", 0},
    {"AnotherDocument", "<html/>", "does not begin with <smses>", 0},
    {"DocumentType", "<!DOCTYPE smses><smses/>", "document type", 0},
    {"EntitiesThatExpand",
     "<!DOCTYPE a [<!ENTITY b \"bbbbbbbbbb\"><!ENTITY c \"&b;&b;&b;&b;&b;\">]><smses><sms body=\"&c;\"/></smses>",
     "document type", 0},
    {"UnknownEntity", "<smses>\n<sms body=\"&boom;\"/></smses>", "line 2", 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, BrokenBackup, testing::ValuesIn(BROKEN_ROWS),
                         [](const auto& row) { return row.param.name; });

long resident_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Makes a document while it is read.
class Generated {
 public:
  Generated(std::string head, std::string repeated, std::size_t times, std::string tail)
      : _pieces{std::move(head), std::move(repeated), std::move(tail)}, _left(times) {}

  std::size_t operator()(char* buffer, std::size_t size) {
    while (_position == _pieces[_piece].size()) {
      if (_piece == 2) return 0;
      if (_piece == 1 && _left > 1) {
        --_left;
      } else {
        ++_piece;
      }
      _position = 0;
    }
    const std::size_t count = std::min(size, _pieces[_piece].size() - _position);
    std::copy_n(_pieces[_piece].data() + _position, count, buffer);
    _position += count;
    return count;
  }

 private:
  std::array<std::string, 3> _pieces;
  std::size_t _piece = 0;
  std::size_t _position = 0;
  std::size_t _left;
};

TEST(Backup, FiftyThousandMessagesNeedNoMoreMemoryThanAFew) {
  const std::string sms =
      "<sms address=\"+15550100\" type=\"1\" date=\"1600000000000\" body=\"" + std::string(500, 'x') + "\"/>\n";
  [[maybe_unused]] const long before = resident_kilobytes();
  const BackupCounts counts =
      convert_backup(Generated("<smses>", sms, 50'000, "</smses>"), [](const std::string&) { return true; });
  EXPECT_EQ(counts.messages, 50'000);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(resident_kilobytes() - before, 16 * 1024);
#endif
}

TEST(Backup, ALargeAttachmentIsConverted) {
  const std::size_t groups = 4'000'000;
  std::size_t data = 0;
  const auto write = [&](const std::string& line) {
    if (line.starts_with("{\"kind\":\"data\"")) data += line.size();
    return true;
  };
  convert_backup(Generated("<smses><mms date=\"5\" msg_box=\"1\" address=\"1\"><parts><part ct=\"image/png\" data=\"",
                           "AAAA", groups, "\"/></parts></mms></smses>"),
                 write);
  EXPECT_GE(data, groups * 4);
}

}  // namespace
}  // namespace msgctl
