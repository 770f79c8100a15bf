// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <limits>

#include "serialized-records.hpp"
#include "service-test.hpp"
#include "unit/store/record-compare.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

NmsMsgMeta meta_with(int message_id, const char* object_id, const char* correlation_id = "") {
  NmsMsgMeta meta;
  meta.msgId = message_id;
  meta.metaStr1 = object_id;
  meta.metaStr2 = correlation_id;
  return meta;
}

class MetaCommands : public ServiceTest {
 protected:
  Outcome add(const NmsMsgMeta& meta) {
    const std::string text = test::serialized(meta);
    return commands.nms_add_msg_meta(test::as_record(text));
  }
  Outcome update(int message_id, const char* object_id, const NmsMsgMeta& meta) {
    const std::string text = test::serialized(meta);
    return commands.nms_update_msg_meta(message_id, object_id, test::as_record(text));
  }

  static NmsMsgMeta read(int message_id, const char* object_id) {
    NmsMsgMeta meta;
    EXPECT_EQ(db::db_get_nms_msg_meta(message_id, object_id, meta), db::DB_OK);
    return meta;
  }
  static bool exists(int message_id, const char* object_id) {
    NmsMsgMeta meta;
    return db::db_get_nms_msg_meta(message_id, object_id, meta) == db::DB_OK;
  }
  /// The object id of the metadata that is shown with a message.
  static std::string shown(int message_id) { return stored(message_id).nms_meta.metaStr1; }
};

TEST_F(MetaCommands, AddedMetadataIsReadAsItWasGiven) {
  const int id = receive_from("+4917");
  NmsMsgMeta meta = meta_with(id, "object", "correlation");
  meta.metaStr3 = "/folder";
  meta.metaStr4 = "https://store.example.org/object";
  meta.metaInt64_1 = std::numeric_limits<std::int64_t>::max();
  meta.metaInt64_2 = std::numeric_limits<std::int64_t>::min();
  meta.metaInt1 = 3;
  meta.metaInt2 = 4;
  meta.metaFlag1 = true;
  meta.metaFlag3 = true;
  EXPECT_EQ(signal_of(add(meta)),
            R"(storage_changed {"event":"meta_changed","revision":2,"message_ids":[1],"thread_ids":[]})");
  EXPECT_TRUE(read(id, "object") == meta);
  EXPECT_TRUE(stored(id).nms_meta == meta);
}

TEST_F(MetaCommands, MetadataWithoutAMessageConcernsNone) {
  EXPECT_EQ(signal_of(add(meta_with(-7, "object"))),
            R"(storage_changed {"event":"meta_changed","revision":1,"message_ids":[],"thread_ids":[]})");
  EXPECT_EQ(read(0, "object").msgId, 0);
}

TEST_F(MetaCommands, AddingTheSameIdsAgainReplaces) {
  const int id = receive_from("+4917");
  add(meta_with(id, "object", "old"));
  EXPECT_EQ(add(meta_with(id, "object", "new")).status, STATUS_OK);
  EXPECT_EQ(read(id, "object").metaStr2, "new");
  std::vector<NmsMsgMeta> uncorrelated;
  db::db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_PREFIX, true,
                                        uncorrelated);
  EXPECT_EQ(uncorrelated.size(), 1U);
}

TEST_F(MetaCommands, WhatIsThereAlreadyIsNotAnnounced) {
  const int id = receive_from("+4917");
  add(meta_with(id, "object"));
  for (const Outcome& outcome : {add(meta_with(id, "object")), update(id, "object", meta_with(id, "object"))}) {
    EXPECT_EQ(outcome.status, STATUS_OK);
    EXPECT_EQ(signal_of(outcome), "");
  }
}

TEST_F(MetaCommands, TheFirstMetadataIsShownWithTheMessage) {
  const int id = receive_from("+4917");
  add(meta_with(id, "first"));
  add(meta_with(id, "second"));
  EXPECT_EQ(shown(id), "first");
  EXPECT_EQ(signal_of(commands.nms_delete_msg_meta(id, "first")),
            R"(storage_changed {"event":"meta_changed","revision":4,"message_ids":[1],"thread_ids":[]})");
  EXPECT_EQ(shown(id), "second");
  commands.nms_delete_msg_meta(id, "");
  EXPECT_EQ(shown(id), "");
  EXPECT_FALSE(exists(id, ""));
}

TEST_F(MetaCommands, ARecordThatNamesAMessageIsTiedToIt) {
  const int id = receive_from("+4917");
  add(meta_with(0, "object", "correlation"));
  NmsMsgMeta correlated = meta_with(id, "object", "correlation");
  correlated.metaFlag3 = true;
  EXPECT_EQ(signal_of(update(0, "object", correlated)),
            R"(storage_changed {"event":"meta_changed","revision":3,"message_ids":[1],"thread_ids":[]})");
  EXPECT_TRUE(stored(id).nms_meta == correlated);
  std::vector<NmsMsgMeta> uncorrelated;
  EXPECT_EQ(db::db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_PREFIX, true,
                                                  uncorrelated),
            db::DB_NO_RECORD);
}

TEST_F(MetaCommands, MetadataMovesFromOneMessageToAnother) {
  const int from = receive_from("+491");
  const int to = receive_from("+492");
  add(meta_with(from, "moving"));
  add(meta_with(from, "staying"));
  EXPECT_EQ(signal_of(update(from, "moving", meta_with(to, "moving"))),
            R"(storage_changed {"event":"meta_changed","revision":5,"message_ids":[1,2],"thread_ids":[]})");
  EXPECT_EQ(shown(from), "staying");
  EXPECT_EQ(shown(to), "moving");
}

TEST_F(MetaCommands, IdsThatARecordLeavesOutStay) {
  const int id = receive_from("+4917");
  add(meta_with(id, "object"));
  ASSERT_EQ(update(id, "object", meta_with(0, "", "correlation")).status, STATUS_OK);
  EXPECT_EQ(read(id, "object").metaStr2, "correlation");
  EXPECT_EQ(shown(id), "object");
}

TEST_F(MetaCommands, AnUpdateNeverMergesTwoRecords) {
  const int id = receive_from("+4917");
  add(meta_with(id, "one"));
  add(meta_with(id, "two", "kept"));
  EXPECT_EQ(update(id, "one", meta_with(id, "two")).status, STATUS_INVALID_ARGUMENT);
  EXPECT_TRUE(exists(id, "one"));
  EXPECT_EQ(read(id, "two").metaStr2, "kept");
}

TEST_F(MetaCommands, AnIdThatIsLeftOutFindsTheFirstRecord) {
  const int one = receive_from("+491");
  const int two = receive_from("+492");
  add(meta_with(one, "object", "first"));
  add(meta_with(two, "object", "second"));
  ASSERT_EQ(update(0, "object", meta_with(0, "", "changed")).status, STATUS_OK);
  EXPECT_EQ(read(one, "object").metaStr2, "changed");
  EXPECT_EQ(read(two, "object").metaStr2, "second");
  add(meta_with(two, "another", "third"));
  ASSERT_EQ(update(two, "", meta_with(0, "", "changed too")).status, STATUS_OK);
  EXPECT_EQ(read(two, "object").metaStr2, "changed too");
  EXPECT_EQ(read(two, "another").metaStr2, "third");
  ASSERT_EQ(commands.nms_delete_msg_meta(two, "").status, STATUS_OK);
  EXPECT_FALSE(exists(two, "object"));
  EXPECT_TRUE(exists(two, "another"));
}

TEST_F(MetaCommands, ListsOfWhatIsToBeDoneShrinkAsItIsDone) {
  NmsMsgMeta meta = meta_with(0, "object");
  meta.metaInt1 = 1;
  meta.metaInt2 = 1;
  add(meta);
  std::vector<NmsMsgMeta> list;
  EXPECT_EQ(db::db_get_sync_required_nms_msg_metas(false, list), db::DB_OK);
  EXPECT_EQ(db::db_get_download_required_nms_msg_metas(list), db::DB_OK);
  EXPECT_EQ(list.size(), 2U);
  meta.metaInt1 = 0;
  meta.metaInt2 = 3;
  update(0, "object", meta);
  EXPECT_EQ(db::db_get_sync_required_nms_msg_metas(false, list), db::DB_NO_RECORD);
  EXPECT_EQ(db::db_get_download_required_nms_msg_metas(list), db::DB_NO_RECORD);
}

TEST_F(MetaCommands, OnlyInvalidMetadataIsRemoved) {
  const int gone = receive_from("+491");
  const int kept = receive_from("+491");
  add(meta_with(gone, "of a message that goes"));
  add(meta_with(kept, "of a message"));
  add(meta_with(0, "of no message"));
  commands.delete_message(gone, 0);
  beside("INSERT INTO nms_meta VALUES (99, 0, '', 'of nothing', '', '', 0, 0, 0, 0, 0, 0, 0)");
  ASSERT_TRUE(exists(gone, "")) << "metadata outlives its message";

  EXPECT_EQ(signal_of(commands.nms_delete_invalid_msg_meta()),
            R"(storage_changed {"event":"meta_changed","revision":7,"message_ids":[1],"thread_ids":[]})");
  EXPECT_FALSE(exists(gone, ""));
  EXPECT_TRUE(exists(kept, "of a message"));
  EXPECT_TRUE(exists(0, "of no message"));
  EXPECT_EQ(shown(kept), "of a message");
  std::vector<NmsMsgMeta> uncorrelated;
  db::db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_PREFIX, true,
                                        uncorrelated);
  EXPECT_EQ(uncorrelated.size(), 2U);

  const Outcome again = commands.nms_delete_invalid_msg_meta();
  EXPECT_EQ(again.status, STATUS_OK);
  EXPECT_EQ(signal_of(again), "");
}

TEST_F(MetaCommands, AResetDropsMetadataAndSubscriptionAndKeepsMessages) {
  const int id = receive_from("+4917");
  add(meta_with(id, "object"));
  add(meta_with(0, "other"));
  commands.nms_update_subscription_info(5, "token");
  EXPECT_EQ(signal_of(commands.nms_handle_resetbox()),
            R"(storage_changed {"event":"reset","revision":5,"message_ids":[1],"thread_ids":[]})");
  EXPECT_EQ(shown(id), "");
  EXPECT_FALSE(exists(id, "object"));
  EXPECT_FALSE(exists(0, "other"));
  unsigned long long index = 0;
  std::string token;
  EXPECT_EQ(db::db_get_subscription_info(index, token), db::DB_NO_RECORD);

  const Outcome again = commands.nms_handle_resetbox();
  EXPECT_EQ(again.status, STATUS_OK);
  EXPECT_EQ(signal_of(again), "");
  // What is added afterwards is shown again.
  add(meta_with(id, "new"));
  EXPECT_EQ(shown(id), "new");
}

TEST_F(MetaCommands, AResetOfASubscriptionAloneIsAnnouncedToo) {
  commands.nms_update_subscription_info(5, "token");
  EXPECT_EQ(signal_of(commands.nms_handle_resetbox()),
            R"(storage_changed {"event":"reset","revision":2,"message_ids":[],"thread_ids":[]})");
}

TEST_F(MetaCommands, TheSubscriptionKeepsAllBitsOfItsIndex) {
  for (const std::uint64_t index : {UINT64_C(0), (UINT64_C(1) << 63) + 1, UINT64_MAX}) {
    ASSERT_EQ(commands.nms_update_subscription_info(index, "token").status, STATUS_OK);
    unsigned long long stored_index = 1;
    std::string token;
    ASSERT_EQ(db::db_get_subscription_info(stored_index, token), db::DB_OK);
    EXPECT_EQ(stored_index, index);
    EXPECT_EQ(token, "token");
  }
}

TEST_F(MetaCommands, ASubscriptionIsAnnouncedWhenItChanges) {
  EXPECT_EQ(signal_of(commands.nms_update_subscription_info(1, "a")),
            R"(storage_changed {"event":"subscription_changed","revision":1,"message_ids":[],"thread_ids":[]})");
  EXPECT_EQ(signal_of(commands.nms_update_subscription_info(1, "a")), "");
  EXPECT_NE(signal_of(commands.nms_update_subscription_info(2, "a")), "");
  EXPECT_NE(signal_of(commands.nms_update_subscription_info(2, "")), "");
}

TEST_F(MetaCommands, AFailureChangesNothing) {
  const int id = receive_from("+4917");
  add(meta_with(id, "object", "old"));
  break_the_store();
  EXPECT_EQ(update(id, "object", meta_with(id, "object", "new")).status, STATUS_FAILED);
  EXPECT_EQ(commands.nms_delete_msg_meta(id, "object").status, STATUS_FAILED);
  EXPECT_EQ(commands.nms_handle_resetbox().status, STATUS_FAILED);
  EXPECT_EQ(commands.nms_update_subscription_info(1, "token").status, STATUS_FAILED);
  EXPECT_EQ(read(id, "object").metaStr2, "old");
  EXPECT_EQ(shown(id), "object");
}

struct BadMetaCommand {
  const char* name;
  std::function<Outcome(Commands&)> command;
  Status status;
};

SerializedRecord valid_record() {
  static const std::string text = test::serialized(meta_with(0, "object"));
  return test::as_record(text);
}

SerializedRecord record_of(const NmsMsgMeta& meta) {
  static std::string text;
  text = test::serialized(meta);
  return test::as_record(text);
}

SerializedRecord with_size(int size) { return {.bytes = valid_record().bytes, .size = size}; }

class BadMetaCommands : public ServiceTest, public testing::WithParamInterface<BadMetaCommand> {};

TEST_P(BadMetaCommands, AreRefusedAndChangeNothing) {
  receive_from("+4917");
  const std::string text = test::serialized(meta_with(1, "known"));
  commands.nms_add_msg_meta(test::as_record(text));
  const Outcome outcome = GetParam().command(commands);
  EXPECT_EQ(outcome.status, GetParam().status);
  EXPECT_EQ(signal_of(outcome), "");
  NmsMsgMeta meta;
  ASSERT_EQ(db::db_get_nms_msg_meta(1, "known", meta), db::DB_OK);
  EXPECT_TRUE(meta == meta_with(1, "known"));
  EXPECT_EQ(db::db_get_nms_msg_meta(0, "object", meta), db::DB_NO_RECORD);
}

INSTANTIATE_TEST_SUITE_P(
    EachCase, BadMetaCommands,
    testing::Values(
        BadMetaCommand{"AddOfNoRecord",
                       [](Commands& c) {
                         return c.nms_add_msg_meta({"{}", 2});
                       },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddOfNothing",
                       [](Commands& c) {
                         return c.nms_add_msg_meta({"", 0});
                       },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddOfAMessage",
                       [](Commands& c) {
                         const std::string text = test::serialized(Message());
                         return c.nms_add_msg_meta(test::as_record(text));
                       },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddWithASmallerSize",
                       [](Commands& c) { return c.nms_add_msg_meta(with_size(valid_record().size - 1)); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddWithALargerSize",
                       [](Commands& c) { return c.nms_add_msg_meta(with_size(valid_record().size + 1)); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddWithANegativeSize",
                       [](Commands& c) { return c.nms_add_msg_meta(with_size(std::numeric_limits<int>::min())); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddWithoutIds", [](Commands& c) { return c.nms_add_msg_meta(record_of(meta_with(0, ""))); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"AddToAnUnknownMessage",
                       [](Commands& c) { return c.nms_add_msg_meta(record_of(meta_with(4711, "object"))); },
                       STATUS_NO_RECORD},
        BadMetaCommand{"UpdateByNoRecord",
                       [](Commands& c) {
                         return c.nms_update_msg_meta(1, "known", {"x", 1});
                       },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"UpdateWithAnotherSize",
                       [](Commands& c) { return c.nms_update_msg_meta(1, "known", with_size(1)); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"UpdateWithoutIds", [](Commands& c) { return c.nms_update_msg_meta(-1, "", valid_record()); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"UpdateOfAnUnknownMessage",
                       [](Commands& c) { return c.nms_update_msg_meta(4711, "known", valid_record()); },
                       STATUS_NO_RECORD},
        BadMetaCommand{"UpdateOfAnUnknownObject",
                       [](Commands& c) { return c.nms_update_msg_meta(1, "object", valid_record()); },
                       STATUS_NO_RECORD},
        BadMetaCommand{
            "UpdateToAnUnknownMessage",
            [](Commands& c) { return c.nms_update_msg_meta(1, "known", record_of(meta_with(4711, "object"))); },
            STATUS_NO_RECORD},
        BadMetaCommand{"DeleteWithoutIds", [](Commands& c) { return c.nms_delete_msg_meta(0, ""); },
                       STATUS_INVALID_ARGUMENT},
        BadMetaCommand{"DeleteOfAnUnknownMessage", [](Commands& c) { return c.nms_delete_msg_meta(4711, ""); },
                       STATUS_NO_RECORD},
        BadMetaCommand{"DeleteOfAnUnknownObject", [](Commands& c) { return c.nms_delete_msg_meta(0, "object"); },
                       STATUS_NO_RECORD}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::service
