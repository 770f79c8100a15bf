// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstddef>

#include "store/queries.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using namespace db;

/// What a list is to hold, and the ids that it must hold.
struct Case {
  ListCondition condition;
  Json ids;
};

ListCondition of_type(int type) {
  ListCondition condition;
  condition.num_type = type;
  return condition;
}

ListCondition of_threads(std::vector<int> ids) {
  ListCondition condition;
  condition.thread_ids = std::move(ids);
  return condition;
}

ListCondition with_keyword(const std::string& keyword) {
  ListCondition condition;
  condition.keyword = keyword;
  return condition;
}

ListCondition unread(ListCondition condition = {}) {
  condition.flag_y = 1;
  return condition;
}

ListCondition oldest_first(ListCondition condition = {}) {
  condition.flag_x = 0;
  return condition;
}

ListCondition slice(int offset, int limit, ListCondition condition = {}) {
  condition.num_a = offset;
  condition.num_b = limit;
  return condition;
}

void expect_lists(Findings& findings, const std::vector<Case>& cases) {
  for (const auto& row : cases) {
    std::vector<Message> list;
    const std::string what = "db_get_message_list of " + shown(json_of(row.condition));
    expect_status(findings, what, row.ids.empty() ? DB_NO_RECORD : DB_OK, db_get_message_list(row.condition, list));
    findings.equal("the ids from " + what, row.ids, ids_of(list));
  }
}

void list_all(Findings& findings) {
  expect_lists(findings, {{ListCondition(), {40, 30, 23, 20, 22, 21, 11, 13, 12, 10, 32, 31}}});
}

void list_oldest_first(Findings& findings) {
  expect_lists(findings, {{oldest_first(), {31, 32, 10, 12, 13, 11, 21, 22, 20, 23, 30, 40}}});
}

void list_whole_messages(Findings& findings) {
  std::vector<Message> list;
  expect_status(findings, "db_get_message_list", DB_OK, db_get_message_list(ListCondition(), list));
  for (const auto& message : list) {
    findings.equal("message " + std::to_string(message.id), expected_message(message.id),
                   without_row_ids(json_of(message)));
  }
}

void list_appended(Findings& findings) {
  std::vector<Message> list(1);
  expect_status(findings, "db_get_message_list", DB_OK, db_get_message_list(of_threads({8}), list));
  findings.equal("the ids in the list", Json({0, 40}), ids_of(list));
}

void list_empty_store(Findings& findings) {
  expect_nothing_listed<Message>(findings, "db_get_message_list", DB_NO_RECORD,
                                 [](auto& list) { return db_get_message_list(ListCondition(), list); });
}

void list_unread(Findings& findings) {
  expect_lists(findings, {{unread(), {30, 23, 12}}, {unread(of_threads({1})), {12}}});
}

void list_types(Findings& findings) {
  expect_lists(findings, {{of_type(1), {40, 11, 13, 12, 10}},
                          {of_type(2), {23, 20, 22, 21}},
                          {of_type(3), {30, 32, 31}},
                          {of_type(4), Json::array()},
                          {unread(of_type(2)), {23}}});
}

void list_threads(Findings& findings) {
  expect_lists(findings, {{of_threads({1}), {11, 13, 12, 10}},
                          {of_threads({8, 1, 8, 99}), {40, 11, 13, 12, 10}},
                          {of_threads({9}), Json::array()},
                          {of_threads({99, -1}), Json::array()}});
}

void list_slices(Findings& findings) {
  expect_lists(findings, {{slice(0, 2), {40, 30}},
                          {slice(1, 2), {30, 23}},
                          {slice(9, 0), {10, 32, 31}},
                          {slice(11, 5), {31}},
                          {slice(12, 1), Json::array()},
                          {slice(INT_MAX, INT_MAX), Json::array()},
                          {slice(1, 1, oldest_first()), {32}}});
}

// With every offset, so that a page that repeats or loses a message is noticed wherever it is.
void list_all_slices(Findings& findings) {
  for (const auto& whole : {ListCondition(), of_threads({1, 2}), with_keyword("e"), with_keyword("the"),
                            oldest_first(of_type(1)), unread()}) {
    std::vector<Message> all;
    db_get_message_list(whole, all);
    const Json ids = ids_of(all);
    for (int offset = 0; offset < static_cast<int>(all.size()); ++offset) {
      const auto end = std::min<std::size_t>(static_cast<std::size_t>(offset) + 3, ids.size());
      expect_lists(findings,
                   {{slice(offset, 3, whole), Json(ids.begin() + offset, ids.begin() + static_cast<int>(end))}});
    }
  }
}

void refuse_negative(Findings& findings) {
  for (const auto& condition : {slice(-1, 0), slice(0, -1), slice(INT_MIN, 1), slice(1, INT_MIN)}) {
    expect_nothing_listed<Message>(findings, "db_get_message_list of " + shown(json_of(condition)), DB_INVALID_ARGUMENT,
                                   [&](auto& list) { return db_get_message_list(condition, list); });
  }
}

void search_everywhere(Findings& findings) {
  expect_lists(findings, {{with_keyword("o wor"), {10}},
                          {with_keyword("unique sub"), Json::array()},
                          {with_keyword("subject"), {12}},
                          {with_keyword("+4917012"), {11, 13, 12, 10}},
                          {with_keyword("carol@"), {40}},
                          {with_keyword("own@example"), {20}}});
}

void search_one_text(Findings& findings) {
  expect_lists(findings, {{with_keyword("world+49"), Json::array()},
                          {with_keyword("worldalice"), Json::array()},
                          {with_keyword("no such words"), Json::array()}});
}

void search_any_case(Findings& findings) {
  expect_lists(findings, {{with_keyword("HELLO WORLD"), {10}},
                          {with_keyword("hELLO"), {10}},
                          {with_keyword("ünique"), {12}},
                          {with_keyword("привет"), {31}},
                          {with_keyword("STRASSE"), {11}},
                          {with_keyword("straße"), {11}},
                          {with_keyword("σίσυφος"), {12}}});
}

void search_any_composition(Findings& findings) {
  expect_lists(findings, {{with_keyword("köln"), {11}},
                          {with_keyword("ko\u0308ln"), {11}},
                          {with_keyword("мой"), {31}},
                          {with_keyword("U\u0308nique"), {12}}});
}

void search_short_keywords(Findings& findings) {
  expect_lists(findings, {{with_keyword("wE"), {13}},
                          {with_keyword("SS"), {11}},
                          {with_keyword("99"), {32}},
                          {with_keyword("9"), {20, 11, 13, 12, 10, 32}},
                          {with_keyword("й"), {31}},
                          {with_keyword("Ö"), {11}}});
}

void search_han(Findings& findings) {
  expect_lists(findings, {{with_keyword("你"), {30}},
                          {with_keyword("好们"), {30}},
                          {with_keyword("你好们。"), {30}},
                          {with_keyword("们好"), Json::array()}});
}

void search_punctuation(Findings& findings) {
  expect_lists(findings, {{with_keyword("%"), {32}},
                          {with_keyword("99%"), {32}},
                          {with_keyword("_"), {32}},
                          {with_keyword("sure_"), {32}},
                          {with_keyword("sure%quoted"), Json::array()},
                          {with_keyword("\"quoted\""), {32}},
                          {with_keyword("it's"), {32}},
                          {with_keyword("* \\"), {32}},
                          {with_keyword("*"), {32}},
                          {with_keyword("'"), {32}},
                          {with_keyword("\"\""), Json::array()},
                          {with_keyword("hello OR sure"), Json::array()}});
}

void search_with_more(Findings& findings) {
  expect_lists(findings, {{unread(with_keyword("491701")), {12}},
                          {oldest_first(with_keyword("491701")), {10, 12, 13, 11}},
                          {slice(1, 2, with_keyword("491701")), {13, 12}}});
  ListCondition condition = with_keyword("example");
  condition.num_type = 1;
  condition.thread_ids = {2, 8};
  expect_lists(findings, {{condition, {40}}});
}

void refuse_keywords(Findings& findings) {
  for (const std::string keyword : {"\xFF", "abc\xC3", "\xED\xA0\x80"}) {
    expect_nothing_listed<Message>(findings, "db_get_message_list of a keyword that is not UTF-8", DB_INVALID_ARGUMENT,
                                   [&](auto& list) { return db_get_message_list(with_keyword(keyword), list); });
  }
}

}  // namespace

Sentences list_sentences() {
  return {
      {"lists", "a new condition lists all messages newest first, of two as new the one with the higher id", FILLED,
       list_all},
      {"lists", "oldest first is the opposite order", FILLED, list_oldest_first},
      {"lists", "a listed message is the message that is read alone", FILLED, list_whole_messages},
      {"lists", "messages are appended to what the list holds", FILLED, list_appended},
      {"lists", "a store without messages has no record", EMPTY, list_empty_store},
      {"lists", "unread messages alone are listed", FILLED, list_unread},
      {"lists", "messages of one type alone are listed", FILLED, list_types},
      {"lists", "messages of any of the threads are listed, each once", FILLED, list_threads},
      {"lists", "a list begins at its offset and ends at its limit", FILLED, list_slices},
      {"lists", "each slice is a part of the whole list", FILLED, list_all_slices},
      {"lists", "a negative offset or limit is refused", FILLED, refuse_negative},
      {"search", "a keyword is looked for in body, subject, sender and addresses", FILLED, search_everywhere},
      {"search", "a keyword is found within one text only", FILLED, search_one_text},
      {"search", "case does not matter, in any script", FILLED, search_any_case},
      {"search", "it does not matter how a character is composed", FILLED, search_any_composition},
      {"search", "keywords of one and two characters are found", FILLED, search_short_keywords},
      {"search", "text without blanks between words is searched", FILLED, search_han},
      {"search", "every character stands for itself", FILLED, search_punctuation},
      {"search", "a keyword goes together with the other conditions", FILLED, search_with_more},
      {"search", "a keyword that is not UTF-8 is refused", FILLED, refuse_keywords},
  };
}

}  // namespace msg_consumer::conformance
