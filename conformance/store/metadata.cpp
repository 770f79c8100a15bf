// SPDX-License-Identifier: Apache-2.0
#include "store/queries.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using namespace db;

std::string key(int message_id, const std::string& object_id) {
  return "db_get_nms_msg_meta(" + std::to_string(message_id) + ", \"" + object_id + "\")";
}

/// Holds that both ids find the record whose correlation id is given.
void expect_found(Findings& findings, int message_id, const std::string& object_id, const std::string& correlation_id) {
  NmsMsgMeta meta;
  const std::string what = key(message_id, object_id);
  expect_status(findings, what, DB_OK, db_get_nms_msg_meta(message_id, object_id, meta));
  findings.equal("the correlation id from " + what, correlation_id, meta.metaStr2);
}

void read_whole(Findings& findings) {
  for (const auto* object_id : {"obj-full", "obj-z", "obj-deleted"}) {
    NmsMsgMeta meta;
    expect_status(findings, key(0, object_id), DB_OK, db_get_nms_msg_meta(0, object_id, meta));
    findings.equal("the record " + std::string(object_id), expected_meta(object_id), json_of(meta));
  }
}

void read_by_both(Findings& findings) {
  expect_found(findings, 10, "obj-a", "abcd");
  expect_found(findings, 13, "obj-a", "later");
}

void read_first_added(Findings& findings) {
  expect_found(findings, 10, "", "abc");
  expect_found(findings, 0, "obj-a", "abcd");
  expect_found(findings, -1, "obj-a", "abcd");
}

void read_nothing(Findings& findings) {
  const auto expect_none = [&](int message_id, const std::string& object_id) {
    expect_untouched<NmsMsgMeta>(findings, key(message_id, object_id), DB_NO_RECORD,
                                 [&](NmsMsgMeta& meta) { return db_get_nms_msg_meta(message_id, object_id, meta); });
  };
  expect_none(10, "obj-group");
  expect_none(11, "");
  expect_none(0, "obj");
  expect_none(0, "OBJ-Z");
  expect_none(0, "%");
}

void refuse_no_key(Findings& findings) {
  for (const int id : {0, -1, INT_MIN}) {
    expect_untouched<NmsMsgMeta>(findings, key(id, ""), DB_INVALID_ARGUMENT,
                                 [id](NmsMsgMeta& meta) { return db_get_nms_msg_meta(id, "", meta); });
  }
}

struct Search {
  const char* id;
  NmsMsgMeta::CorrelationIdSearchType id_type;
  Json found;
  bool deleted = false;
  NmsMsgMeta::CorrelationType type = NmsMsgMeta::CORRELATION_MESSAGE;
};

void expect_searches(Findings& findings, const std::vector<Search>& searches) {
  for (const auto& search : searches) {
    std::vector<NmsMsgMeta> list;
    const std::string what = "db_get_uncorrelated_nms_msg_metas(" + shown(search.id) + ", " +
                             std::to_string(search.type) + ", " + std::to_string(search.id_type) + ", " +
                             (search.deleted ? "true" : "false") + ")";
    expect_status(findings, what, search.found.empty() ? DB_NO_RECORD : DB_OK,
                  db_get_uncorrelated_nms_msg_metas(search.id, search.type, search.id_type, search.deleted, list));
    findings.equal("the object ids from " + what, search.found, object_ids_of(list));
  }
}

void search_exactly(Findings& findings) {
  expect_searches(findings, {{"abc", NmsMsgMeta::SEARCH_EXACT, {"obj-z"}},
                             {"ab", NmsMsgMeta::SEARCH_EXACT, Json::array()},
                             {"a%c", NmsMsgMeta::SEARCH_EXACT, {"obj-percent"}},
                             {"xabc", NmsMsgMeta::SEARCH_EXACT, Json::array()}});
}

void search_prefix(Findings& findings) {
  expect_searches(findings, {{"ab", NmsMsgMeta::SEARCH_PREFIX, {"obj-z", "obj-gone"}},
                             {"abc", NmsMsgMeta::SEARCH_PREFIX, {"obj-z"}},
                             {"bc", NmsMsgMeta::SEARCH_PREFIX, Json::array()},
                             {"", NmsMsgMeta::SEARCH_PREFIX, {"obj-z", "obj-percent", "obj-gone"}}});
}

void search_contained(Findings& findings) {
  expect_searches(findings, {{"b", NmsMsgMeta::SEARCH_CONTAINED, {"obj-z", "obj-gone"}},
                             {"bc", NmsMsgMeta::SEARCH_CONTAINED, {"obj-z"}},
                             {"c", NmsMsgMeta::SEARCH_CONTAINED, {"obj-z", "obj-percent"}},
                             {"abcd", NmsMsgMeta::SEARCH_CONTAINED, Json::array()}});
}

void search_bytes(Findings& findings) {
  expect_searches(findings, {{"ABC", NmsMsgMeta::SEARCH_EXACT, Json::array()},
                             {"AB", NmsMsgMeta::SEARCH_PREFIX, Json::array()},
                             {"B", NmsMsgMeta::SEARCH_CONTAINED, Json::array()},
                             {"%", NmsMsgMeta::SEARCH_CONTAINED, {"obj-percent"}},
                             {"a%", NmsMsgMeta::SEARCH_PREFIX, {"obj-percent"}},
                             {"_", NmsMsgMeta::SEARCH_CONTAINED, Json::array()},
                             {"ab\xC3", NmsMsgMeta::SEARCH_PREFIX, {"obj-gone"}},
                             {"'", NmsMsgMeta::SEARCH_CONTAINED, Json::array()}});
}

void search_deleted(Findings& findings) {
  expect_searches(findings, {{"abc", NmsMsgMeta::SEARCH_CONTAINED, {"obj-z"}, false},
                             {"abc", NmsMsgMeta::SEARCH_CONTAINED, {"obj-z", "obj-deleted"}, true},
                             {"xabc", NmsMsgMeta::SEARCH_EXACT, {"obj-deleted"}, true}});
}

void search_group_chats(Findings& findings) {
  expect_searches(findings,
                  {{"abc", NmsMsgMeta::SEARCH_EXACT, {"obj-group"}, false, NmsMsgMeta::CORRELATION_GROUPCHAT},
                   {"", NmsMsgMeta::SEARCH_PREFIX, {"obj-group"}, true, NmsMsgMeta::CORRELATION_GROUPCHAT},
                   {"xabc", NmsMsgMeta::SEARCH_EXACT, Json::array(), true, NmsMsgMeta::CORRELATION_GROUPCHAT}});
}

void refuse_searches(Findings& findings) {
  for (const int unknown : {-1, 3}) {
    const auto id_type = static_cast<NmsMsgMeta::CorrelationIdSearchType>(unknown);
    const auto type = static_cast<NmsMsgMeta::CorrelationType>(unknown);
    expect_nothing_listed<NmsMsgMeta>(
        findings, "a search of an unknown kind", DB_INVALID_ARGUMENT, [id_type](auto& list) {
          return db_get_uncorrelated_nms_msg_metas("abc", NmsMsgMeta::CORRELATION_MESSAGE, id_type, false, list);
        });
    expect_nothing_listed<NmsMsgMeta>(
        findings, "a search among messages of an unknown kind", DB_INVALID_ARGUMENT, [type](auto& list) {
          return db_get_uncorrelated_nms_msg_metas("abc", type, NmsMsgMeta::SEARCH_EXACT, false, list);
        });
  }
}

void expect_sync(Findings& findings, bool deleted, const Json& expected) {
  std::vector<NmsMsgMeta> list;
  expect_status(findings, "db_get_sync_required_nms_msg_metas", DB_OK,
                db_get_sync_required_nms_msg_metas(deleted, list));
  findings.equal("the object ids from db_get_sync_required_nms_msg_metas", expected, object_ids_of(list));
}

void list_sync(Findings& findings) { expect_sync(findings, false, {"obj-z", "obj-group", "obj-gone"}); }

void list_deleted_sync(Findings& findings) {
  expect_sync(findings, true, {"obj-z", "obj-group", "obj-deleted", "obj-gone"});
}

void list_downloads(Findings& findings) {
  std::vector<NmsMsgMeta> list;
  expect_status(findings, "db_get_download_required_nms_msg_metas", DB_OK,
                db_get_download_required_nms_msg_metas(list));
  findings.equal("the object ids", Json({"obj-group", "obj-percent"}), object_ids_of(list));
}

void append_lists(Findings& findings) {
  std::vector<NmsMsgMeta> list(1);
  db_get_sync_required_nms_msg_metas(false, list);
  db_get_download_required_nms_msg_metas(list);
  db_get_uncorrelated_nms_msg_metas("abc", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_EXACT, false, list);
  findings.equal("the object ids", Json({"", "obj-z", "obj-group", "obj-gone", "obj-group", "obj-percent", "obj-z"}),
                 object_ids_of(list));
}

void list_nothing(Findings& findings) {
  expect_nothing_listed<NmsMsgMeta>(findings, "db_get_sync_required_nms_msg_metas", DB_NO_RECORD,
                                    [](auto& list) { return db_get_sync_required_nms_msg_metas(true, list); });
  expect_nothing_listed<NmsMsgMeta>(findings, "db_get_download_required_nms_msg_metas", DB_NO_RECORD,
                                    db_get_download_required_nms_msg_metas);
  expect_nothing_listed<NmsMsgMeta>(findings, "db_get_uncorrelated_nms_msg_metas", DB_NO_RECORD, [](auto& list) {
    return db_get_uncorrelated_nms_msg_metas("", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_CONTAINED, true,
                                             list);
  });
}

void expect_downloads(Findings& findings, bool expected) {
  bool exist = !expected;
  expect_status(findings, "db_has_download_required_message", DB_OK, db_has_download_required_message(&exist));
  findings.equal("whether there is a download", expected, exist);
}

void tell_downloads(Findings& findings) { expect_downloads(findings, true); }

void tell_no_downloads(Findings& findings) { expect_downloads(findings, false); }

void refuse_no_place(Findings& findings) {
  expect_status(findings, "db_has_download_required_message(nullptr)", DB_INVALID_ARGUMENT,
                db_has_download_required_message(nullptr));
}

void read_subscription(Findings& findings) {
  unsigned long long index = 1;
  std::string token = "old";
  expect_status(findings, "db_get_subscription_info", DB_OK, db_get_subscription_info(index, token));
  findings.equal("the notification index", 18446744073709551615ULL, index);
  findings.equal("the restart token", "token-1", token);
}

void read_no_subscription(Findings& findings) {
  unsigned long long index = 1;
  std::string token = "old";
  expect_status(findings, "db_get_subscription_info", DB_NO_RECORD, db_get_subscription_info(index, token));
  findings.equal("the notification index", 1, index);
  findings.equal("the restart token", "old", token);
}

}  // namespace

Sentences metadata_sentences() {
  return {
      {"metadata", "a record is read with all its members", FILLED, read_whole},
      {"metadata", "a record is found by message and object id", FILLED, read_by_both},
      {"metadata", "of several records with one of the ids the first added is read", FILLED, read_first_added},
      {"metadata", "ids that no record has find nothing, and the record is left alone", FILLED, read_nothing},
      {"metadata", "one of the two ids must be given", FILLED, refuse_no_key},
      {"correlation", "a whole correlation id finds what is not correlated yet", FILLED, search_exactly},
      {"correlation", "a correlation id's start finds what is not correlated yet", FILLED, search_prefix},
      {"correlation", "any part of a correlation id finds what is not correlated yet", FILLED, search_contained},
      {"correlation", "correlation ids are compared byte by byte", FILLED, search_bytes},
      {"correlation", "deleted records count on demand", FILLED, search_deleted},
      {"correlation", "group chats are searched apart", FILLED, search_group_chats},
      {"correlation", "an unknown kind of search or message is refused", FILLED, refuse_searches},
      {"sync", "a required and a failed sync are listed, in the order in which they were added", FILLED, list_sync},
      {"sync", "deleted records count on demand", FILLED, list_deleted_sync},
      {"sync", "a required and a failed download are listed, unless they were deleted", FILLED, list_downloads},
      {"sync", "lists are appended to", FILLED, append_lists},
      {"sync", "a store without metadata has no record", EMPTY, list_nothing},
      {"sync", "a required download is told", FILLED, tell_downloads},
      {"sync", "no required download is told", EMPTY, tell_no_downloads},
      {"sync", "without a place for the answer the question is refused", FILLED, refuse_no_place},
      {"subscription", "index and token are read", FILLED, read_subscription},
      {"subscription", "without a subscription there is no record, and nothing is written", EMPTY,
       read_no_subscription},
  };
}

}  // namespace msg_consumer::conformance
