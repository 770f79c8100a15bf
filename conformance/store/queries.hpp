// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_STORE_QUERIES_HPP
#define MSG_CONSUMER_CONFORMANCE_STORE_QUERIES_HPP

// What the sentences about queries have in common.

#include <msg-consumer-common/db.h>

#include <array>
#include <climits>
#include <string>
#include <vector>

#include "frame/sentence.hpp"
#include "store/fixture.hpp"
#include "store/record-json.hpp"

namespace msg_consumer::conformance {

/// No thread and no message of the fixture has one of these.
inline constexpr std::array UNKNOWN_IDS = {0, -1, 7, 25, INT_MIN, INT_MAX};

template <typename Record>
Json ids_of(const std::vector<Record>& list) {
  Json ids = Json::array();
  for (const auto& record : list) ids.push_back(record.id);
  return ids;
}

inline Json object_ids_of(const std::vector<NmsMsgMeta>& list) {
  Json ids = Json::array();
  for (const auto& meta : list) ids.push_back(meta.metaStr1);
  return ids;
}

/// Holds the status of a query that finds something, or nothing.
inline bool expect_status(Findings& findings, const std::string& query, int expected, int seen) {
  return findings.equal("the status of " + query, expected, seen);
}

/// Holds a status that is not success, and that nothing was written to `record`. `query` gets the record.
template <typename Record, typename Query>
void expect_untouched(Findings& findings, const std::string& name, int expected, Query query) {
  Record record;
  fill(record);
  const Json before = json_of(record);
  expect_status(findings, name, expected, query(record));
  findings.equal("the record handed to " + name, before, json_of(record));
}

/// The same for a list.
template <typename Record, typename Query>
void expect_nothing_listed(Findings& findings, const std::string& name, int expected, Query query) {
  std::vector<Record> list;
  expect_status(findings, name, expected, query(list));
  findings.expect(list.empty(), name + " put something into the list");
}

inline std::string call(const char* query, int id) { return std::string(query) + "(" + std::to_string(id) + ")"; }

}  // namespace msg_consumer::conformance

#endif
