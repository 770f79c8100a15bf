// SPDX-License-Identifier: Apache-2.0
#include "store/fixture.hpp"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace msg_consumer::conformance {
namespace {

// Members that are not written here are 0, empty or false; `expanded` puts them in. Ids have gaps, times are neither in
// the order of the ids nor all different, and texts are in several scripts, composed and decomposed.
constexpr std::string_view FILLED_TEXT = R"json({
  "threads": [
    {"id": 1, "num_b": 1, "num_c": 1, "num_d": 2, "num_g": 4, "num_h": 1, "num_i": 3, "time_ms": 1700000003000,
     "num_k": 1, "str_m": "+491701234567", "str_n": "Straße nach Ko\u0308ln",
     "addresses": [{"num_b": 1, "address": "+491701234567"}]},
    {"id": 2, "num_b": 1, "num_c": 2, "num_d": 1, "flag_f": 1, "num_g": 4, "time_ms": 1700000006000,
     "num_k": 2, "str_m": "+49 170 1234567, bob@example.org", "str_n": "A picture",
     "addresses": [{"num_b": 1, "address": "+49 170 1234567"}, {"num_b": 2, "address": "bob@example.org"}]},
    {"id": 3, "num_b": 1, "num_c": 3, "num_d": 1, "num_g": 3, "time_ms": 1700000006000,
     "num_k": 3, "str_m": "Friends", "str_n": "你好们。", "str_o": "chat-3", "flag_p": 1,
     "addresses": [{"num_b": 1, "address": "200"}, {"num_b": 1, "address": "100"},
                   {"num_b": 1, "address": "300", "flag_e": 1}]},
    {"id": 8, "num_c": 1, "num_d": 3, "flag_e": 1, "num_g": 1, "time_ms": 1700000008000,
     "num_k": 1, "str_m": "carol@example.org", "str_n": "Draft",
     "addresses": [{"num_b": 2, "address": "carol@example.org"}]},
    {"id": 9, "str_m": "Empty", "str_o": "chat-9", "flag_p": 1, "addresses": []}
  ],
  "messages": [
    {"id": 10, "num_b": 1, "num_c": 1, "str_d": "Hello world", "num_e": 1, "time_ms": 1700000001000, "flag_j": 1,
     "str_p": "+491701234567", "sender_name": "Alice"},
    {"id": 11, "num_b": 1, "num_c": 1, "str_d": "Straße nach Ko\u0308ln", "num_e": 2, "num_f": 3, "num_h": 1,
     "time_ms": 1700000003000, "flag_j": 1,
     "addresses": [{"num_b": 1, "num_c": 2, "address": "+491701234567"}]},
    {"id": 12, "num_b": 1, "num_c": 1, "str_d": "ΣΊΣΥΦΟΣ", "num_e": 1, "time_ms": 1700000002000,
     "str_o": "ÜNIQUE subject", "str_p": "+491701234567"},
    {"id": 13, "num_b": 1, "num_c": 1, "str_d": "tie of twelve", "num_e": 1, "time_ms": 1700000002000, "flag_j": 1,
     "str_p": "+491701234567"},
    {"id": 20, "num_b": 2, "num_c": 2, "str_d": "everything", "subType": 2, "num_e": 2, "num_f": 4,
     "networkStatus": -403, "num_h": 2, "time_ms": 1700000005000, "flag_j": 1, "flag_k": 1, "flag_l": 1, "num_m": 2,
     "num_n": 3, "str_o": "all members", "str_p": "own@example.org", "num_q": 123456, "flag_r": 1,
     "str_s": "phone-17", "sender_name": "Myself",
     "addresses": [{"num_b": 2, "num_c": 1, "address": "own@example.org", "flag_e": 1},
                   {"num_b": 1, "num_c": 2, "address": "+49 170 1234567"},
                   {"num_b": 2, "num_c": 3, "address": "bob@example.org"}],
     "contents": [{"flag_c": 1, "flag_d": 1, "str_e": "text/plain", "kind": 1, "status": 0, "str_j": "<body>",
                   "str_l": "everything"},
                  {"flag_d": 1, "str_e": "image/png", "kind": 2, "status": 3, "str_g": "/files/20/picture.png",
                   "str_h": "picture.png", "str_i": "/files/20/small.png", "str_j": "<picture>"},
                  {"str_e": "video/mp4", "kind": 3, "status": 2, "str_g": "/files/20/film.mp4", "str_h": "film.mp4",
                   "str_j": "<film>"}]},
    {"id": 21, "num_b": 2, "num_c": 2, "str_d": "two parts", "num_e": 2, "num_f": 5, "time_ms": 1700000004000,
     "flag_j": 1,
     "contents": [{"flag_c": 1, "str_e": "text/plain", "kind": 1, "str_l": "two parts"},
                  {"str_e": "audio/ogg", "kind": 4, "status": 4, "str_h": "first.ogg"},
                  {"str_e": "application/pdf", "kind": 5, "status": 3, "str_h": "second.pdf"}]},
    {"id": 22, "num_b": 2, "num_c": 2, "str_d": "a body alone", "num_e": 2, "num_f": 3, "time_ms": 1700000004500,
     "flag_j": 1, "contents": [{"flag_c": 1, "str_e": "text/plain", "kind": 1, "str_l": "a body alone"}]},
    {"id": 23, "num_b": 2, "num_c": 2, "str_d": "A picture", "subType": 1, "num_e": 1, "time_ms": 1700000006000,
     "num_n": 1, "str_p": "bob@example.org",
     "contents": [{"str_e": "image/png", "kind": 2, "status": 2, "str_h": "incoming.png"}]},
    {"id": 30, "num_b": 3, "num_c": 3, "str_d": "你好们。", "num_e": 1, "time_ms": 1700000006000, "str_p": "100"},
    {"id": 31, "num_b": 3, "num_c": 3, "str_d": "ПРИВЕТ Мои\u0306", "num_e": 1, "time_ms": 1700000000500,
     "flag_j": 1, "str_p": "200"},
    {"id": 32, "num_b": 3, "num_c": 3, "str_d": "99% sure_ \"quoted\" it's * \\", "num_e": 2, "num_f": 3,
     "time_ms": 1700000000700, "flag_j": 1},
    {"id": 40, "num_b": 8, "num_c": 1, "str_d": "Draft", "num_e": 3, "time_ms": 1700000008000, "flag_j": 1,
     "addresses": [{"num_b": 2, "num_c": 2, "address": "carol@example.org"}]}
  ],
  "metas": [
    {"msgId": 10, "metaStr1": "obj-z", "metaStr2": "abc", "metaInt1": 1},
    {"msgId": 10, "metaStr1": "obj-a", "metaStr2": "abcd", "metaFlag3": true},
    {"msgId": 30, "metaStr1": "obj-group", "metaStr2": "abc", "metaInt1": 3, "metaInt2": 4},
    {"msgId": 0, "metaStr1": "obj-deleted", "metaStr2": "xabc", "metaInt1": 1, "metaFlag2": true},
    {"msgId": 20, "metaStr1": "obj-full", "metaStr2": "ABC", "metaStr3": "/folder",
     "metaStr4": "https://store.example.org/full", "metaInt64_1": 1700000005001, "metaInt64_2": -5, "metaInt1": 2,
     "metaInt2": 3, "metaFlag1": true, "metaFlag2": true, "metaFlag3": true},
    {"msgId": 23, "metaStr1": "obj-percent", "metaStr2": "a%c", "metaInt2": 1},
    {"msgId": 999, "metaStr1": "obj-gone", "metaStr2": "abé", "metaInt1": 3},
    {"msgId": 12, "metaStr1": "", "metaStr2": "", "metaInt2": 1, "metaFlag2": true},
    {"msgId": 13, "metaStr1": "obj-a", "metaStr2": "later", "metaFlag3": true}
  ],
  "subscription": {"noti_index": 18446744073709551615, "restart_token": "token-1"}
})json";

constexpr std::string_view EMPTY_TEXT = R"json({"threads": [], "messages": [], "metas": [], "subscription": null})json";

constexpr std::string_view THREAD_MEMBERS = R"json({"num_b": 0, "num_c": 0, "num_d": 0, "flag_e": 0, "flag_f": 0,
  "num_g": 0, "num_h": 0, "num_i": 0, "time_ms": 0, "num_k": 0, "str_m": "", "str_n": "", "str_o": "", "flag_p": 0})json";
constexpr std::string_view ADDRESS_MEMBERS = R"json({"num_b": 0, "num_c": 0, "address": "", "flag_e": 0})json";
constexpr std::string_view MESSAGE_MEMBERS = R"json({"num_b": 0, "num_c": 0, "str_d": "", "subType": 0, "num_e": 0,
  "num_f": 0, "networkStatus": 0, "num_h": 0, "time_ms": 0, "flag_j": 0, "flag_k": 0, "flag_l": 0, "num_m": 0,
  "num_n": 0, "str_o": "", "str_p": "", "num_q": 0, "flag_r": 0, "str_s": "", "addresses": [], "contents": [],
  "sender_name": ""})json";
constexpr std::string_view CONTENT_MEMBERS = R"json({"flag_c": 0, "flag_d": 0, "str_e": "", "kind": 0, "status": 0,
  "str_g": "", "str_h": "", "str_i": "", "str_j": "", "str_l": ""})json";
constexpr std::string_view META_MEMBERS = R"json({"msgId": 0, "metaStr1": "", "metaStr2": "", "metaStr3": "",
  "metaStr4": "", "metaInt64_1": 0, "metaInt64_2": 0, "metaInt1": 0, "metaInt2": 0, "metaFlag1": false,
  "metaFlag2": false, "metaFlag3": false})json";

void expand_each(Json& records, std::string_view members) {
  const Json defaults = Json::parse(members);
  for (auto& record : records) {
    Json expanded = defaults;
    expanded.update(record);
    record = std::move(expanded);
  }
}

Json expanded(Json fixture) {
  expand_each(fixture["threads"], THREAD_MEMBERS);
  for (auto& thread : fixture["threads"]) expand_each(thread["addresses"], ADDRESS_MEMBERS);
  expand_each(fixture["messages"], MESSAGE_MEMBERS);
  for (auto& message : fixture["messages"]) {
    expand_each(message["addresses"], ADDRESS_MEMBERS);
    expand_each(message["contents"], CONTENT_MEMBERS);
  }
  expand_each(fixture["metas"], META_MEMBERS);
  return fixture;
}

const Json& filled() {
  static const Json fixture = expanded(Json::parse(FILLED_TEXT));
  return fixture;
}

/// The first of `records` whose `member` is `value`; null when there is none.
Json find(const Json& records, const char* member, const Json& value) {
  const auto found =
      std::find_if(records.begin(), records.end(), [&](const Json& record) { return record[member] == value; });
  return found == records.end() ? Json() : *found;
}

Json get(const char* records, const char* member, const Json& value) {
  Json record = find(filled().at(records), member, value);
  if (record.is_null()) throw std::logic_error(std::string("the fixture has no such record in ") + records);
  return record;
}

}  // namespace

Json store_fixture(const std::string& state) {
  if (state == FILLED) return filled();
  if (state == EMPTY) return Json::parse(EMPTY_TEXT);
  throw std::invalid_argument("there is no state of this name: " + state);
}

Json expected_thread(int id) {
  Json thread = get("threads", "id", id);
  thread.erase("addresses");
  return thread;
}

Json expected_message(int id) {
  Json message = get("messages", "id", id);
  message.erase("sender_name");
  for (auto& content : message["contents"]) content["num_b"] = id;
  const Json meta = find(filled().at("metas"), "msgId", id);
  message["nms_meta"] = meta.is_null() ? Json::parse(META_MEMBERS) : meta;
  return message;
}

Json expected_conversation(int id) {
  const Json message = expected_message(id);
  const std::string sender_name = get("messages", "id", id)["sender_name"];
  Json conversation;
  // The members that have the same name in both.
  for (const auto* name : {"id", "num_b", "num_c", "str_d", "num_e", "num_f", "time_ms", "flag_j", "flag_k", "flag_l",
                           "num_m", "num_n", "contents"}) {
    conversation[name] = message[name];
  }
  conversation["num_g"] = message["num_h"];
  conversation["num_h"] = message["contents"].size();
  conversation["flag_o"] = message["flag_r"];
  conversation["num_p"] = message["num_q"];
  conversation["str_q"] = message["str_s"];
  conversation["str_r"] = message["str_p"];
  conversation["str_s"] = message["str_o"];
  conversation["str_t"] = sender_name.empty() ? message["str_p"] : Json(sender_name);
  return conversation;
}

Json expected_addresses(int thread_id) { return get("threads", "id", thread_id)["addresses"]; }

Json expected_meta(const std::string& object_id) { return get("metas", "metaStr1", object_id); }

Json without_row_ids(Json record) {
  for (const auto* list : {"addresses", "contents"}) {
    if (!record.contains(list)) continue;
    for (auto& element : record[list]) {
      element.erase("num_a");
      element.erase("id");
    }
  }
  return record;
}

}  // namespace msg_consumer::conformance
