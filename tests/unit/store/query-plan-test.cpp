// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "list-query.hpp"
#include "named-row.hpp"
#include "queries.hpp"
#include "test-store.hpp"

// How SQLite goes about each query. A change of the schema or of a query that costs an index shows here.

namespace msg_consumer::db {
namespace {

using test::TestStore;

std::string plan(TestStore& store, const std::string& sql) {
  schema::Statement statement(store.database(), "EXPLAIN QUERY PLAN " + sql);
  std::string result;
  while (statement.step()) result.append(statement.text(3)).append("\n");
  return result;
}

constexpr const char* SORTING = "USE TEMP B-TREE";

struct ListRow {
  const char* name;
  void (*set)(ListCondition& condition);
  const char* step;
  bool sorted;
};

void PrintTo(const ListRow& row, std::ostream* out) { *out << row.name; }

class ListPlan : public testing::TestWithParam<ListRow> {};

TEST_P(ListPlan, UsesItsIndex) {
  TestStore store;
  for (const int newest_first : {0, 1}) {
    for (const int limit : {0, 50}) {
      ListCondition condition;
      GetParam().set(condition);
      condition.flag_x = newest_first;
      condition.num_b = limit;
      const std::string steps = plan(store, ListQuery(condition).sql());
      EXPECT_NE(steps.find(GetParam().step), std::string::npos) << steps;
      EXPECT_EQ(steps.find(SORTING) != std::string::npos, GetParam().sorted) << steps;
      EXPECT_EQ(steps.find("CO-ROUTINE listed") != std::string::npos, GetParam().sorted && limit > 0) << steps;
      EXPECT_NE(steps.find("SEARCH n USING INTEGER PRIMARY KEY"), std::string::npos) << steps;
    }
  }
}

constexpr ListRow LISTS[] = {
    {"All", [](ListCondition&) {}, "SCAN m USING INDEX message_by_time", false},
    {"OneThread", [](ListCondition& c) { c.thread_ids = {1}; }, "SEARCH m USING INDEX message_by_thread (thread_id=?)",
     false},
    {"OneThreadOfOneType",
     [](ListCondition& c) {
       c.thread_ids = {1};
       c.num_type = 2;
     },
     "SEARCH m USING INDEX message_by_thread (thread_id=?)", false},
    {"OneType", [](ListCondition& c) { c.num_type = 2; }, "SEARCH m USING INDEX message_by_type (type=?)", false},
    {"UnreadOfOneType",
     [](ListCondition& c) {
       c.flag_y = 1;
       c.num_type = 2;
     },
     "SCAN m USING INDEX message_unread_by_time", false},
    {"Unread", [](ListCondition& c) { c.flag_y = 1; }, "SCAN m USING INDEX message_unread_by_time", false},
    {"UnreadOfOneThread",
     [](ListCondition& c) {
       c.flag_y = 1;
       c.thread_ids = {1};
     },
     "SEARCH m USING INDEX message_unread (thread_id=?)", false},
    {"SeveralThreads",
     [](ListCondition& c) {
       c.thread_ids = {1, 2};
     },
     "INDEX message_by_thread (thread_id=?)", true},
    {"SeveralThreadsOfOneType",
     [](ListCondition& c) {
       c.thread_ids = {1, 2};
       c.num_type = 2;
     },
     "SEARCH m USING INDEX message_by_thread (thread_id=?)", true},
    {"IndexedKeywordOfOneType",
     [](ListCondition& c) {
       c.keyword = "abc";
       c.num_type = 2;
     },
     "SCAN message_search VIRTUAL TABLE INDEX", true},
    {"ShortKeywordOfOneType",
     [](ListCondition& c) {
       c.keyword = "ab";
       c.num_type = 2;
     },
     "SEARCH m USING INDEX message_by_type (type=?)", false},
    {"IndexedKeyword", [](ListCondition& c) { c.keyword = "abc"; }, "SCAN message_search VIRTUAL TABLE INDEX", true},
    {"ShortKeyword", [](ListCondition& c) { c.keyword = "ab"; }, "SCAN m USING INDEX message_by_time", false},
    {"ShortKeywordInOneThread",
     [](ListCondition& c) {
       c.keyword = "ab";
       c.thread_ids = {1};
     },
     "SEARCH m USING INDEX message_by_thread (thread_id=?)", false},
};

INSTANTIATE_TEST_SUITE_P(Lists, ListPlan, testing::ValuesIn(LISTS), test::name_of_row);

/// Counts the pages of the database that a list reads, most of them parts of large messages.
int pages_read(TestStore& store, const ListCondition& condition) {
  const ListQuery query(condition);
  schema::Statement statement(store.database(), query.sql());
  query.bind(statement);
  int hits = 0;
  int misses = 0;
  int highest = 0;
  sqlite3_db_status(store.database(), SQLITE_DBSTATUS_CACHE_HIT, &hits, &highest, 1);
  sqlite3_db_status(store.database(), SQLITE_DBSTATUS_CACHE_MISS, &misses, &highest, 1);
  while (statement.step()) {
  }
  sqlite3_db_status(store.database(), SQLITE_DBSTATUS_CACHE_HIT, &hits, &highest, 1);
  sqlite3_db_status(store.database(), SQLITE_DBSTATUS_CACHE_MISS, &misses, &highest, 1);
  return hits + misses;
}

TEST(LimitedList, ReadsOnlyTheMessagesThatItReturnsWhole) {
  constexpr int MESSAGES = 60;
  constexpr int PAGES_OF_A_MESSAGE = 10;
  TestStore store;
  const int thread = store.add_thread({"1"});
  for (int i = 0; i < MESSAGES; ++i) {
    const int id = store.add_message(test::make_message(thread, "find me", i));
    store.execute("UPDATE message SET packed = zeroblob(4096 * " + std::to_string(PAGES_OF_A_MESSAGE) +
                  ") WHERE id = " + std::to_string(id));
  }

  ListCondition several_threads;
  several_threads.thread_ids = {thread, thread + 1};
  ListCondition keyword;
  keyword.keyword = "find me";
  for (ListCondition condition : {several_threads, keyword}) {
    const int whole = pages_read(store, condition);
    EXPECT_GE(whole, MESSAGES * PAGES_OF_A_MESSAGE);
    condition.num_b = 1;
    EXPECT_LT(pages_read(store, condition), whole / 2);
  }
}

struct FixedRow {
  const char* name;
  const char* sql;
  const char* step;
  bool sorted = false;
};

void PrintTo(const FixedRow& row, std::ostream* out) { *out << row.name; }

class FixedPlan : public testing::TestWithParam<FixedRow> {};

TEST_P(FixedPlan, UsesItsIndex) {
  TestStore store;
  const std::string steps = plan(store, GetParam().sql);
  EXPECT_NE(steps.find(GetParam().step), std::string::npos) << steps;
  EXPECT_EQ(steps.find(SORTING) != std::string::npos, GetParam().sorted) << steps;
}

constexpr FixedRow QUERIES[] = {
    {"Message", SELECT_MESSAGE, "SEARCH m USING INTEGER PRIMARY KEY"},
    {"Conversation", SELECT_CONVERSATION, "SEARCH m USING INTEGER PRIMARY KEY"},
    {"Conversations", SELECT_CONVERSATIONS, "SEARCH m USING INDEX message_by_thread (thread_id=?)"},
    {"Thread", SELECT_THREAD, "SEARCH thread USING INTEGER PRIMARY KEY"},
    {"Threads", SELECT_THREADS, "SCAN thread USING INDEX thread_by_time"},
    {"Addresses", SELECT_ADDRESSES, "SEARCH a USING INDEX thread_address_by_thread (thread_id=?)"},
    {"ThreadOfAddresses", SELECT_THREAD_OF_ADDRESSES,
     "SEARCH thread USING COVERING INDEX thread_by_address_key (address_key=?)"},
    {"NmsMeta", SELECT_NMS_META, "(message_id=? AND object_id=?)"},
    // Sorts the records of one message.
    {"NmsMetaOfMessage", SELECT_NMS_META_OF_MESSAGE, "(message_id=?)", true},
    {"NmsMetaOfObject", SELECT_NMS_META_OF_OBJECT, "SEARCH n USING INDEX nms_meta_by_object (object_id=?)"},
    {"UncorrelatedById", SELECT_UNCORRELATED_BY_ID, "SEARCH n USING INDEX nms_meta_by_correlation (correlation_id=?)"},
    {"UncorrelatedByPrefix", SELECT_UNCORRELATED_BY_PREFIX,
     "SEARCH n USING INDEX nms_meta_by_correlation (correlation_id>? AND correlation_id<?)", true},
    {"UncorrelatedByPart", SELECT_UNCORRELATED_BY_PART, "SCAN n USING INDEX nms_meta_by_correlation", true},
    {"TypeOfTheUncorrelated", SELECT_UNCORRELATED_BY_ID, "SEARCH m USING INTEGER PRIMARY KEY"},
    {"SyncRequired", SELECT_SYNC_REQUIRED, "SEARCH n USING INDEX nms_meta_to_sync (sync_state=?)", true},
    {"DownloadRequired", SELECT_DOWNLOAD_REQUIRED, "SEARCH n USING INDEX nms_meta_to_download (download_state=?)",
     true},
    {"HasDownloadRequired", SELECT_HAS_DOWNLOAD_REQUIRED,
     "SEARCH n USING INDEX nms_meta_to_download (download_state=?)"},
};

INSTANTIATE_TEST_SUITE_P(Queries, FixedPlan, testing::ValuesIn(QUERIES), test::name_of_row);

}  // namespace
}  // namespace msg_consumer::db
