// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <random>

#include "serialized-records.hpp"
#include "service-test.hpp"
#include "unit/store/sample-records.hpp"

// Serialised records with a few bytes changed, given to the commands. What the decoder refuses they refuse, and
// nothing of it is in the store afterwards. Sanitizers watch the rest.

namespace msg_consumer::service {
namespace {

constexpr int MUTANTS = 10'000;

/// Digits and letters keep the structure, so that many mutants are decoded and get as far as the store.
std::string mutate(std::string text, std::mt19937& random) {
  for (auto changes = 1 + random() % 3; changes > 0; --changes) {
    const std::size_t at = random() % text.size();
    switch (random() % 4) {
      case 0:
        text[at] = static_cast<char>(random());
        break;
      case 1:
        text.erase(at, 1 + random() % 10);
        break;
      case 2:
        text.insert(at, text.substr(random() % text.size(), 1 + random() % 20));
        break;
      default:
        if (const std::size_t digit = text.find_first_of("0123456789", at); digit != std::string::npos) {
          text[digit] = static_cast<char>('0' + random() % 10);
        }
    }
  }
  return text;
}

class HostileRecords : public ServiceTest {
 protected:
  /// How many mutants the decoder took, and how many changed the store.
  struct Count {
    int decoded = 0;
    int stored = 0;
  };

  /// Runs a command on each mutant; `decodes` is what the decoder says of it.
  template <typename Command, typename Decodes>
  static Count run_on_mutants(const std::string& original, Command command, Decodes decodes) {
    std::mt19937 random(17);
    Count count;
    for (int i = 0; i < MUTANTS; ++i) {
      const std::string mutant = mutate(original, random);
      const Outcome outcome = command(test::as_record(mutant));
      const bool is_stored = outcome.announcement.has_value();
      if (decodes(mutant)) {
        ++count.decoded;
        count.stored += is_stored ? 1 : 0;
      } else {
        EXPECT_EQ(outcome.status, STATUS_INVALID_ARGUMENT) << mutant;
        EXPECT_FALSE(is_stored) << mutant;
      }
      EXPECT_NE(outcome.status, STATUS_FAILED) << mutant;
    }
    EXPECT_GT(count.decoded, MUTANTS / 20) << "too few mutants were decoded to say anything";
    EXPECT_GT(MUTANTS - count.decoded, MUTANTS / 3) << "too few mutants were refused to say anything";
    return count;
  }

  std::int64_t rows(const char* table) const {
    const schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY);
    schema::Statement statement(database.get(), std::string("SELECT COUNT(*) FROM ") + table);
    statement.step();
    return statement.integer(0);
  }
};

TEST_F(HostileRecords, AreAddedAsMessagesOrRefused) {
  Message sample = test::sample<Message>();
  sample.num_b = 0;
  sample.num_e = DIRECTION_INCOMING;
  for (Address& address : sample.addresses) {
    address.num_b = 1;
    address.address = "+4917";
  }
  const Count count = run_on_mutants(
      test::serialized(sample), [&](const SerializedRecord& record) { return commands.nms_add_message(record); },
      [](const std::string& text) { return schema::decode_message(text).has_value(); });
  EXPECT_GT(count.stored, 0);
  EXPECT_EQ(rows("message"), count.stored);
  std::vector<Message> messages;
  EXPECT_EQ(db::db_get_message_list(ListCondition(), messages), db::DB_OK) << "what was stored can be read";
  EXPECT_EQ(static_cast<int>(messages.size()), count.stored);
}

TEST_F(HostileRecords, AreAddedAsMetadataOrRefused) {
  NmsMsgMeta sample = test::sample<NmsMsgMeta>();
  sample.msgId = 0;
  const Count count = run_on_mutants(
      test::serialized(sample), [&](const SerializedRecord& record) { return commands.nms_add_msg_meta(record); },
      [](const std::string& text) { return schema::decode_nms_meta(text).has_value(); });
  EXPECT_GT(count.stored, 0);
  EXPECT_EQ(rows("change_log"), count.stored);
}

TEST_F(HostileRecords, ChangeMetadataOrAreRefused) {
  NmsMsgMeta sample = test::sample<NmsMsgMeta>();
  sample.msgId = receive_from("+4917");
  const std::string original = test::serialized(sample);
  commands.nms_add_msg_meta(test::as_record(original));
  run_on_mutants(
      original, [&](const SerializedRecord& record) { return commands.nms_update_msg_meta(1, "", record); },
      [](const std::string& text) { return schema::decode_nms_meta(text).has_value(); });
  EXPECT_EQ(rows("nms_meta"), 1);
}

}  // namespace
}  // namespace msg_consumer::service
