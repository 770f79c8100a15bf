// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>
#include <numeric>

#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

class ChangeLogOfStore : public ServiceTest {
 protected:
  std::int64_t ask(std::string_view sql) const {
    const schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY);
    schema::Statement statement(database.get(), sql);
    return statement.step() ? statement.integer(0) : -1;
  }
};

std::vector<int> ids_up_to(int last) {
  std::vector<int> ids(static_cast<std::size_t>(last));
  std::iota(ids.begin(), ids.end(), 1);
  return ids;
}

TEST(SignalText, NamesAThousandIdsAndNoMore) {
  const auto text = nlohmann::json::parse(signal_text({.message_ids = ids_up_to(1000), .thread_ids = ids_up_to(1)}, 7));
  EXPECT_EQ(text["message_ids"].size(), 1000U);
  const auto more = nlohmann::json::parse(signal_text({.message_ids = ids_up_to(1001), .thread_ids = ids_up_to(1)}, 7));
  EXPECT_TRUE(more["message_ids"].is_null());
  EXPECT_EQ(more["thread_ids"].size(), 1U);
  EXPECT_EQ(more["revision"], 7);
}

TEST_F(ChangeLogOfStore, HoldsWhatWasAnnounced) {
  const Outcome outcome = send("+4917").outcome;
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY);
  schema::Statement row(database.get(), "SELECT signal, body FROM change_log WHERE revision = 1");
  ASSERT_TRUE(row.step());
  EXPECT_EQ(std::string(row.text(0)) + " " + std::string(row.text(1)), signal_of(outcome));
}

TEST_F(ChangeLogOfStore, KeepsTheNewestTenThousand) {
  beside(
      "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 10000) "
      "INSERT INTO change_log SELECT i, 'storage_changed', '{}' FROM n");
  send("+4917");
  EXPECT_EQ(ask("SELECT count(*) FROM change_log"), ChangeLog::CAPACITY);
  EXPECT_EQ(ask("SELECT min(revision) FROM change_log"), 2);
  EXPECT_EQ(ask("SELECT max(revision) FROM change_log"), 10'001);
}

TEST_F(ChangeLogOfStore, KeepsNoMoreBytesThanItMay) {
  beside(
      "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 90) "
      "INSERT INTO change_log SELECT i, 'storage_changed', printf('%.*c', 200000, 'x') FROM n");
  ASSERT_GT(ask("SELECT sum(length(body)) FROM change_log"), ChangeLog::CAPACITY_BYTES);
  // As when the service is started again.
  ChangeLog log(store.database());
  store.transact([&] { log.append({.message_ids = {1}, .thread_ids = {1}}); });
  EXPECT_EQ(log.bounds().newest, 91);
  const std::int64_t bytes = ask("SELECT sum(length(body)) FROM change_log");
  EXPECT_LE(bytes, ChangeLog::CAPACITY_BYTES / 2);
  EXPECT_GT(bytes, ChangeLog::CAPACITY_BYTES / 2 - 400'000) << "no more was dropped than had to be";
  EXPECT_EQ(ask("SELECT count(*) = max(revision) - min(revision) + 1 FROM change_log"), 1) << "without a hole";
}

TEST_F(ChangeLogOfStore, GetsRidOfAHugeChangeAndCountsOn) {
  beside("INSERT INTO change_log VALUES (1, 'storage_changed', printf('%.*c', 17000000, 'x'))");
  ChangeLog log(store.database());
  store.transact([&] { log.append({.message_ids = {1}, .thread_ids = {1}}); });
  EXPECT_EQ(ask("SELECT min(revision) FROM change_log"), 2);
  store.transact([&] { log.append({.message_ids = {1}, .thread_ids = {1}}); });
  EXPECT_EQ(log.bounds().newest, 3);
}

TEST_F(ChangeLogOfStore, RefusedCommandsUseNoRevision) {
  send("+4917");
  commands.delete_message(UNKNOWN_ID, 0);
  commands.read_message(1, 0);
  send("");
  send("+4917");
  EXPECT_EQ(ask("SELECT max(revision) FROM change_log"), 2);
}

}  // namespace
}  // namespace msg_consumer::service
