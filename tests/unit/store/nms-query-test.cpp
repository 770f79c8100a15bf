// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <climits>

#include "named-row.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "support/log-capture.hpp"
#include "test-store.hpp"

namespace msg_consumer::db {
namespace {

using test::make_message;
using test::TestStore;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> object_ids(const std::vector<NmsMsgMeta>& list) {
  std::vector<std::string> result(list.size());
  std::transform(list.begin(), list.end(), result.begin(), [](const NmsMsgMeta& meta) { return meta.metaStr1; });
  return result;
}

NmsMsgMeta make_meta(const std::string& object_id, int message_id = 0) {
  NmsMsgMeta meta;
  meta.msgId = message_id;
  meta.metaStr1 = object_id;
  return meta;
}

class NmsQuery : public testing::Test {
 protected:
  NmsQuery() { test::LogCapture::instance().clear(); }

  void add(const NmsMsgMeta& meta) { _store.add_nms_meta(meta.msgId, meta); }

  int add_message(int type) {
    Message message = make_message(_thread, "x");
    message.num_c = type;
    return _store.add_message(message);
  }

  /// What a list query finds.
  template <typename Query>
  std::vector<std::string> list(Query query) {
    std::vector<NmsMsgMeta> metas;
    const int status = query(metas);
    EXPECT_EQ(status, metas.empty() ? DB_NO_RECORD : DB_OK);
    return object_ids(metas);
  }

  std::vector<std::string> uncorrelated(const std::string& id, NmsMsgMeta::CorrelationIdSearchType id_type,
                                        NmsMsgMeta::CorrelationType type = NmsMsgMeta::CORRELATION_MESSAGE,
                                        bool include_deleted = false) {
    return list(
        [&](auto& metas) { return db_get_uncorrelated_nms_msg_metas(id, type, id_type, include_deleted, metas); });
  }

  std::vector<std::string> sync_required(bool include_deleted) {
    return list([&](auto& metas) { return db_get_sync_required_nms_msg_metas(include_deleted, metas); });
  }

  std::vector<std::string> download_required() {
    return list([](auto& metas) { return db_get_download_required_nms_msg_metas(metas); });
  }

  TestStore _store;
  int _thread = _store.add_thread({"+491701234567"});
};

// One record.

TEST_F(NmsQuery, MetadataIsReadWithAllItsMembers) {
  add(make_meta("another", 300));
  add(test::sample<NmsMsgMeta>());
  NmsMsgMeta read;
  ASSERT_EQ(db_get_nms_msg_meta(301, "object", read), DB_OK);
  EXPECT_TRUE(read == test::sample<NmsMsgMeta>());
}

TEST_F(NmsQuery, EachFlagAndStateIsReadFromItsOwnColumn) {
  for (int set = 0; set < 5; ++set) {
    NmsMsgMeta meta = make_meta("object " + std::to_string(set));
    meta.metaFlag1 = set == 0;
    meta.metaFlag2 = set == 1;
    meta.metaFlag3 = set == 2;
    meta.metaInt1 = set == 3 ? 2 : 0;
    meta.metaInt2 = set == 4 ? 2 : 0;
    meta.metaInt64_1 = set == 3 ? INT64_MAX : 0;
    meta.metaInt64_2 = set == 4 ? INT64_MIN : 0;
    add(meta);
    NmsMsgMeta read;
    ASSERT_EQ(db_get_nms_msg_meta(0, meta.metaStr1, read), DB_OK);
    EXPECT_TRUE(read == meta) << set;
  }
}

TEST_F(NmsQuery, TheMetadataOfAMessageComesWithTheMessage) {
  const int id = add_message(1);
  NmsMsgMeta meta = test::sample<NmsMsgMeta>();
  meta.msgId = id;
  add(meta);
  Message message;
  ASSERT_EQ(db_get_message(id, message), DB_OK);
  EXPECT_TRUE(message.nms_meta == meta);
  NmsMsgMeta read;
  ASSERT_EQ(db_get_nms_msg_meta(id, "", read), DB_OK);
  EXPECT_TRUE(read == meta);
}

struct KeyRow {
  const char* name;
  int message_id;
  const char* object_id;
  const char* found;  ///< the correlation id of the record that is found, nullptr for none
};

void PrintTo(const KeyRow& row, std::ostream* out) { *out << row.name; }

class NmsKey : public NmsQuery, public testing::WithParamInterface<KeyRow> {};

TEST_P(NmsKey, FindsTheFirstAddedThatMatchesIt) {
  const auto add_keyed = [&](int message_id, const char* object_id, const char* correlation_id) {
    NmsMsgMeta meta = make_meta(object_id, message_id);
    meta.metaStr2 = correlation_id;
    add(meta);
  };
  // Neither key is in the order in which the records were added.
  add_keyed(7, "b", "7b");
  add_keyed(5, "z", "5z");
  add_keyed(7, "a", "7a");
  add_keyed(5, "b", "5b");
  add_keyed(5, "", "5");
  add_keyed(0, "z", "0z");
  NmsMsgMeta read = test::sample<NmsMsgMeta>();
  const auto& row = GetParam();
  if (row.found != nullptr) {
    ASSERT_EQ(db_get_nms_msg_meta(row.message_id, row.object_id, read), DB_OK);
    EXPECT_EQ(read.metaStr2, row.found);
  } else {
    ASSERT_EQ(db_get_nms_msg_meta(row.message_id, row.object_id, read), DB_NO_RECORD);
    EXPECT_TRUE(read == test::sample<NmsMsgMeta>());
  }
  EXPECT_THAT(test::LogCapture::instance().lines(), IsEmpty());
}

constexpr KeyRow KEYS[] = {
    {"BothIds", 5, "b", "5b"},
    {"BothIdsOfDifferentRecords", 7, "z", nullptr},
    {"OnlyTheMessage", 7, "", "7b"},
    {"OnlyTheMessageOfOneWithoutObjectToo", 5, "", "5z"},
    {"OnlyTheObject", 0, "b", "7b"},
    {"OnlyTheObjectWithANegativeId", -1, "z", "5z"},
    {"OnlyTheObjectWithTheSmallestId", INT_MIN, "a", "7a"},
    {"AnUnknownMessage", 6, "", nullptr},
    {"AnUnknownObject", 0, "c", nullptr},
    {"AnObjectInAnotherCase", 0, "B", nullptr},
    {"AnObjectWithAWildcard", 0, "%", nullptr},
    {"AnObjectThatIsNotUtf8", 0, "\xFF", nullptr},
};

INSTANTIATE_TEST_SUITE_P(Keys, NmsKey, testing::ValuesIn(KEYS), test::name_of_row);

TEST_F(NmsQuery, WithoutAnyIdThereIsNothingToLookFor) {
  add(make_meta(""));
  NmsMsgMeta read = test::sample<NmsMsgMeta>();
  for (const int id : {0, -1, INT_MIN}) EXPECT_EQ(db_get_nms_msg_meta(id, "", read), DB_INVALID_ARGUMENT) << id;
  EXPECT_TRUE(read == test::sample<NmsMsgMeta>());
}

TEST_F(NmsQuery, AnObjectIdMayHoldANul) {
  add(make_meta("a"));
  NmsMsgMeta read;
  EXPECT_EQ(db_get_nms_msg_meta(0, std::string("a\0b", 3), read), DB_NO_RECORD);
  EXPECT_EQ(db_get_nms_msg_meta(0, "a", read), DB_OK);
}

// What is not correlated yet.

struct CorrelationRow {
  const char* name;
  std::string id;
  std::vector<std::string> exact;
  std::vector<std::string> prefix;
  std::vector<std::string> contained;
};

void PrintTo(const CorrelationRow& row, std::ostream* out) { *out << row.name; }

class CorrelationId : public NmsQuery, public testing::WithParamInterface<CorrelationRow> {};

TEST_P(CorrelationId, IsComparedExactlyOrByItsStartOrByAnyPart) {
  // The object id tells the records apart; the order is not that of the correlation ids.
  for (const auto* id : {"abc", "", "ab", "xabc", "ABC", "a%c", "a_c", "a*c", "\u00E9tude", "caf\u00E9", "'; --"}) {
    NmsMsgMeta meta = make_meta(*id == '\0' ? "empty" : id);
    meta.metaStr2 = id;
    add(meta);
  }
  EXPECT_EQ(uncorrelated(GetParam().id, NmsMsgMeta::SEARCH_EXACT), GetParam().exact);
  EXPECT_EQ(uncorrelated(GetParam().id, NmsMsgMeta::SEARCH_PREFIX), GetParam().prefix);
  EXPECT_EQ(uncorrelated(GetParam().id, NmsMsgMeta::SEARCH_CONTAINED), GetParam().contained);
}

const std::vector<std::string> ALL_IDS = {"abc", "empty", "ab",         "xabc",      "ABC",  "a%c",
                                          "a_c", "a*c",   "\u00E9tude", "caf\u00E9", "'; --"};

const CorrelationRow CORRELATION_IDS[] = {
    {"Whole", "abc", {"abc"}, {"abc"}, {"abc", "xabc"}},
    {"Start", "ab", {"ab"}, {"abc", "ab"}, {"abc", "ab", "xabc"}},
    {"Middle", "b", {}, {}, {"abc", "ab", "xabc"}},
    {"OneLetter", "a", {}, {"abc", "ab", "a%c", "a_c", "a*c"}, {"abc", "ab", "xabc", "a%c", "a_c", "a*c", "caf\u00E9"}},
    {"OtherCase", "AB", {}, {"ABC"}, {"ABC"}},
    {"Percent", "a%", {}, {"a%c"}, {"a%c"}},
    {"PercentAlone", "%", {}, {}, {"a%c"}},
    {"Underscore", "a_c", {"a_c"}, {"a_c"}, {"a_c"}},
    {"Star", "*", {}, {}, {"a*c"}},
    {"Quote", "'", {}, {"'; --"}, {"'; --"}},
    {"Longer", "abcd", {}, {}, {}},
    {"Accent", "\u00E9", {}, {"\u00E9tude"}, {"\u00E9tude", "caf\u00E9"}},
    {"FirstByteOfAnAccent", "\xC3", {}, {"\u00E9tude"}, {"\u00E9tude", "caf\u00E9"}},
    {"LastByteOfAnAccent", "\xA9", {}, {}, {"\u00E9tude", "caf\u00E9"}},
    {"ByteOfNoText", "\xFF", {}, {}, {}},
    {"Nul", std::string("ab\0c", 4), {}, {}, {}},
    {"Empty", "", {"empty"}, ALL_IDS, ALL_IDS},
};

INSTANTIATE_TEST_SUITE_P(Ids, CorrelationId, testing::ValuesIn(CORRELATION_IDS), test::name_of_row);

TEST_F(NmsQuery, WhatIsCorrelatedIsNotListedAgain) {
  for (const bool correlated : {true, false, true}) {
    NmsMsgMeta meta = make_meta(correlated ? "correlated" : "open", correlated ? ++_thread : 0);
    meta.metaFlag3 = correlated;
    add(meta);
  }
  for (const auto id_type : {NmsMsgMeta::SEARCH_EXACT, NmsMsgMeta::SEARCH_PREFIX, NmsMsgMeta::SEARCH_CONTAINED}) {
    EXPECT_THAT(uncorrelated("", id_type), ElementsAre("open"));
  }
}

TEST_F(NmsQuery, TheTypeOfMetadataIsThatOfItsMessage) {
  add(make_meta("group chat", add_message(3)));
  add(make_meta("sms", add_message(1)));
  add(make_meta("no message"));
  add(make_meta("mms", add_message(2)));
  add(make_meta("message is gone", 999));
  for (const auto id_type : {NmsMsgMeta::SEARCH_EXACT, NmsMsgMeta::SEARCH_PREFIX, NmsMsgMeta::SEARCH_CONTAINED}) {
    EXPECT_THAT(uncorrelated("", id_type, NmsMsgMeta::CORRELATION_MESSAGE),
                ElementsAre("sms", "no message", "mms", "message is gone"));
    EXPECT_THAT(uncorrelated("", id_type, NmsMsgMeta::CORRELATION_GROUPCHAT), ElementsAre("group chat"));
  }
}

TEST_F(NmsQuery, DeletedMetadataIsListedOnDemand) {
  NmsMsgMeta deleted = make_meta("deleted");
  deleted.metaFlag2 = true;
  add(deleted);
  add(make_meta("kept"));
  for (const auto id_type : {NmsMsgMeta::SEARCH_EXACT, NmsMsgMeta::SEARCH_PREFIX, NmsMsgMeta::SEARCH_CONTAINED}) {
    EXPECT_THAT(uncorrelated("", id_type, NmsMsgMeta::CORRELATION_MESSAGE, false), ElementsAre("kept"));
    EXPECT_THAT(uncorrelated("", id_type, NmsMsgMeta::CORRELATION_MESSAGE, true), ElementsAre("deleted", "kept"));
  }
}

TEST_F(NmsQuery, AnUnknownTypeOrComparisonIsInvalid) {
  add(make_meta("x"));
  std::vector<NmsMsgMeta> metas(1);
  for (const int type : {-1, 2, INT_MAX, INT_MIN}) {
    EXPECT_EQ(db_get_uncorrelated_nms_msg_metas("", static_cast<NmsMsgMeta::CorrelationType>(type),
                                                NmsMsgMeta::SEARCH_EXACT, false, metas),
              DB_INVALID_ARGUMENT)
        << type;
  }
  for (const int id_type : {-1, 3, INT_MAX, INT_MIN}) {
    EXPECT_EQ(
        db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE,
                                          static_cast<NmsMsgMeta::CorrelationIdSearchType>(id_type), false, metas),
        DB_INVALID_ARGUMENT)
        << id_type;
  }
  EXPECT_EQ(metas.size(), 1U);
}

// What is still to be done.

class NmsStates : public NmsQuery {
 protected:
  /// A record for each state, kept and deleted, latest state first.
  void add_all_states(int NmsMsgMeta::*state, int last) {
    for (int value = last; value >= 0; --value) {
      for (const bool deleted : {true, false}) {
        NmsMsgMeta meta = make_meta((deleted ? "deleted " : "kept ") + std::to_string(value));
        meta.*state = value;
        meta.metaFlag2 = deleted;
        add(meta);
      }
    }
  }
};

TEST_F(NmsStates, ASyncIsNeededWhereItIsRequiredOrHasFailed) {
  add_all_states(&NmsMsgMeta::metaInt1, 3);
  EXPECT_THAT(sync_required(false), ElementsAre("kept 3", "kept 1"));
  EXPECT_THAT(sync_required(true), ElementsAre("deleted 3", "kept 3", "deleted 1", "kept 1"));
  EXPECT_THAT(download_required(), IsEmpty());
}

TEST_F(NmsStates, ADownloadIsNeededWhereItIsRequiredOrHasFailed) {
  add_all_states(&NmsMsgMeta::metaInt2, 4);
  EXPECT_THAT(download_required(), ElementsAre("kept 4", "kept 1"));
  EXPECT_THAT(sync_required(true), IsEmpty());
}

TEST_F(NmsStates, AListShrinksAsItsRecordsAreUpdated) {
  add_all_states(&NmsMsgMeta::metaInt1, 3);
  _store.execute("UPDATE nms_meta SET sync_state = 2 WHERE object_id = 'kept 3'");
  EXPECT_THAT(sync_required(false), ElementsAre("kept 1"));
  _store.execute("UPDATE nms_meta SET is_deleted = 1 WHERE object_id = 'kept 1'");
  EXPECT_THAT(sync_required(false), IsEmpty());
}

TEST_F(NmsStates, ResultsAreAppendedToWhatTheListHolds) {
  NmsMsgMeta meta = make_meta("added");
  meta.metaInt1 = 1;
  meta.metaInt2 = 1;
  add(meta);
  std::vector<NmsMsgMeta> metas(1);
  EXPECT_EQ(db_get_sync_required_nms_msg_metas(false, metas), DB_OK);
  EXPECT_EQ(db_get_download_required_nms_msg_metas(metas), DB_OK);
  EXPECT_EQ(
      db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_EXACT, false, metas),
      DB_OK);
  EXPECT_THAT(object_ids(metas), ElementsAre("", "added", "added", "added"));
}

struct DownloadRow {
  const char* name;
  int state;
  bool deleted;
  bool needed;
};

void PrintTo(const DownloadRow& row, std::ostream* out) { *out << row.name; }

class HasDownload : public NmsQuery, public testing::WithParamInterface<DownloadRow> {};

TEST_P(HasDownload, SaysWhatTheListWouldHold) {
  NmsMsgMeta meta = make_meta("x");
  meta.metaInt2 = GetParam().state;
  meta.metaFlag2 = GetParam().deleted;
  add(meta);
  bool exist = !GetParam().needed;
  EXPECT_EQ(db_has_download_required_message(&exist), DB_OK);
  EXPECT_EQ(exist, GetParam().needed);
  EXPECT_EQ(download_required().empty(), !GetParam().needed);
}

constexpr DownloadRow DOWNLOADS[] = {
    {"None", 0, false, false},
    {"Required", 1, false, true},
    {"Running", 2, false, false},
    {"Done", 3, false, false},
    {"Failed", 4, false, true},
    {"RequiredButDeleted", 1, true, false},
    {"FailedButDeleted", 4, true, false},
};

INSTANTIATE_TEST_SUITE_P(States, HasDownload, testing::ValuesIn(DOWNLOADS), test::name_of_row);

TEST_F(NmsQuery, WithoutMetadataNoDownloadIsNeeded) {
  bool exist = true;
  EXPECT_EQ(db_has_download_required_message(&exist), DB_OK);
  EXPECT_FALSE(exist);
  EXPECT_THAT(test::LogCapture::instance().lines(), IsEmpty());
}

TEST_F(NmsQuery, TheAnswerAboutDownloadsNeedsAPlace) {
  EXPECT_EQ(db_has_download_required_message(nullptr), DB_INVALID_ARGUMENT);
}

// The subscription.

TEST_F(NmsQuery, TheSubscriptionsIndexHas64UnsignedBits) {
  for (const unsigned long long index :
       {0ULL, 1ULL, (1ULL << 32) + 1, (1ULL << 63) - 1, (1ULL << 63) + 1, ULLONG_MAX}) {
    schema::Statement row(_store.database(), "INSERT OR REPLACE INTO nms_subscription VALUES (1, ?, ?)");
    row.bind(1, static_cast<std::int64_t>(index)).bind(2, "token").run();
    unsigned long long read = 42;
    std::string token;
    ASSERT_EQ(db_get_subscription_info(read, token), DB_OK);
    EXPECT_EQ(read, index);
    EXPECT_EQ(token, "token");
  }
}

TEST_F(NmsQuery, ASubscriptionsTokenMayBeEmpty) {
  _store.execute("INSERT INTO nms_subscription VALUES (1, 5, '')");
  unsigned long long index = 0;
  std::string token = "old";
  ASSERT_EQ(db_get_subscription_info(index, token), DB_OK);
  EXPECT_EQ(index, 5U);
  EXPECT_EQ(token, "");
}

TEST_F(NmsQuery, WithoutASubscriptionNothingIsWritten) {
  unsigned long long index = 42;
  std::string token = "old";
  EXPECT_EQ(db_get_subscription_info(index, token), DB_NO_RECORD);
  EXPECT_EQ(index, 42U);
  EXPECT_EQ(token, "old");
  EXPECT_THAT(test::LogCapture::instance().lines(), IsEmpty());
}

// A store that cannot be read.

TEST_F(NmsQuery, WithoutAStoreEveryQueryFailsAndWritesNothing) {
  deinit_db();
  const test::EnvironmentVariable elsewhere("MSG_CONSUMER_DB", _store.path() + ".missing");
  NmsMsgMeta meta = test::sample<NmsMsgMeta>();
  EXPECT_EQ(db_get_nms_msg_meta(1, "x", meta), DB_NO_STORE);
  EXPECT_TRUE(meta == test::sample<NmsMsgMeta>());
  std::vector<NmsMsgMeta> metas(1);
  EXPECT_EQ(
      db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_EXACT, true, metas),
      DB_NO_STORE);
  EXPECT_EQ(db_get_sync_required_nms_msg_metas(true, metas), DB_NO_STORE);
  EXPECT_EQ(db_get_download_required_nms_msg_metas(metas), DB_NO_STORE);
  EXPECT_EQ(metas.size(), 1U);
  unsigned long long index = 42;
  std::string token = "old";
  EXPECT_EQ(db_get_subscription_info(index, token), DB_NO_STORE);
  EXPECT_EQ(index, 42U);
  EXPECT_EQ(token, "old");
  for (const bool before : {true, false}) {
    bool exist = before;
    EXPECT_EQ(db_has_download_required_message(&exist), DB_NO_STORE);
    EXPECT_EQ(exist, before);
  }
}

}  // namespace
}  // namespace msg_consumer::db
