// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_STORE_RECORD_JSON_HPP
#define MSG_CONSUMER_CONFORMANCE_STORE_RECORD_JSON_HPP

// The store's records member by member, and as the JSON objects in which the kit compares and shows them.

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>

#include <concepts>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/sentence.hpp"

namespace msg_consumer::conformance {

template <typename T, typename Record>
concept Maybe = std::same_as<std::remove_const_t<T>, Record>;

// Each calls `visit(name, member)` for every member, in the order of declaration.

template <Maybe<Address> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("num_a", record.num_a);
  visit("num_b", record.num_b);
  visit("num_c", record.num_c);
  visit("address", record.address);
  visit("flag_e", record.flag_e);
}

template <Maybe<Content> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("id", record.id);
  visit("num_b", record.num_b);
  visit("flag_c", record.flag_c);
  visit("flag_d", record.flag_d);
  visit("str_e", record.str_e);
  visit("kind", record.kind);
  visit("status", record.status);
  visit("str_g", record.str_g);
  visit("str_h", record.str_h);
  visit("str_i", record.str_i);
  visit("str_j", record.str_j);
  visit("str_l", record.str_l);
}

template <Maybe<Conversation> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("id", record.id);
  visit("num_b", record.num_b);
  visit("num_c", record.num_c);
  visit("str_d", record.str_d);
  visit("num_e", record.num_e);
  visit("num_f", record.num_f);
  visit("num_g", record.num_g);
  visit("num_h", record.num_h);
  visit("time_ms", record.time_ms);
  visit("flag_j", record.flag_j);
  visit("flag_k", record.flag_k);
  visit("flag_l", record.flag_l);
  visit("num_m", record.num_m);
  visit("num_n", record.num_n);
  visit("flag_o", record.flag_o);
  visit("num_p", record.num_p);
  visit("str_q", record.str_q);
  visit("str_r", record.str_r);
  visit("str_s", record.str_s);
  visit("str_t", record.str_t);
  visit("contents", record.contents);
}

template <Maybe<ListCondition> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("flag_x", record.flag_x);
  visit("flag_y", record.flag_y);
  visit("num_type", record.num_type);
  visit("num_a", record.num_a);
  visit("num_b", record.num_b);
  visit("keyword", record.keyword);
  visit("thread_ids", record.thread_ids);
}

template <Maybe<NmsMsgMeta> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("msgId", record.msgId);
  visit("metaStr1", record.metaStr1);
  visit("metaStr2", record.metaStr2);
  visit("metaStr3", record.metaStr3);
  visit("metaStr4", record.metaStr4);
  visit("metaInt64_1", record.metaInt64_1);
  visit("metaInt64_2", record.metaInt64_2);
  visit("metaInt1", record.metaInt1);
  visit("metaInt2", record.metaInt2);
  visit("metaFlag1", record.metaFlag1);
  visit("metaFlag2", record.metaFlag2);
  visit("metaFlag3", record.metaFlag3);
}

template <Maybe<Message> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("id", record.id);
  visit("num_b", record.num_b);
  visit("num_c", record.num_c);
  visit("str_d", record.str_d);
  visit("subType", record.subType);
  visit("num_e", record.num_e);
  visit("num_f", record.num_f);
  visit("networkStatus", record.networkStatus);
  visit("num_h", record.num_h);
  visit("time_ms", record.time_ms);
  visit("flag_j", record.flag_j);
  visit("flag_k", record.flag_k);
  visit("flag_l", record.flag_l);
  visit("num_m", record.num_m);
  visit("num_n", record.num_n);
  visit("str_o", record.str_o);
  visit("str_p", record.str_p);
  visit("num_q", record.num_q);
  visit("flag_r", record.flag_r);
  visit("str_s", record.str_s);
  visit("addresses", record.addresses);
  visit("contents", record.contents);
  visit("nms_meta", record.nms_meta);
}

template <Maybe<Thread> Record, typename Visitor>
void visit_members(Record& record, Visitor&& visit) {
  visit("id", record.id);
  visit("num_b", record.num_b);
  visit("num_c", record.num_c);
  visit("num_d", record.num_d);
  visit("flag_e", record.flag_e);
  visit("flag_f", record.flag_f);
  visit("num_g", record.num_g);
  visit("num_h", record.num_h);
  visit("num_i", record.num_i);
  visit("time_ms", record.time_ms);
  visit("num_k", record.num_k);
  visit("str_m", record.str_m);
  visit("str_n", record.str_n);
  visit("str_o", record.str_o);
  visit("flag_p", record.flag_p);
}

template <typename T>
concept StoreRecord = requires(T& record) {
  visit_members(record, [](const char*, auto&) {});
};

template <StoreRecord Record>
Json json_of(const Record& record);

template <typename Value>
Json json_of(const Value& value) {
  return value;
}

template <typename Element>
Json json_of(const std::vector<Element>& list) {
  Json result = Json::array();
  for (const auto& element : list) result.push_back(json_of(element));
  return result;
}

template <StoreRecord Record>
Json json_of(const Record& record) {
  Json object = Json::object();
  visit_members(record, [&object](const char* name, const auto& member) { object[name] = json_of(member); });
  return object;
}

/// Gives every member a value that no new record has.
template <StoreRecord Record>
void fill(Record& record);

struct Filler {
  int count = 0;

  void operator()(const char*, int& member) { member = ++count; }
  void operator()(const char*, std::uint8_t& member) { member = static_cast<std::uint8_t>(++count); }
  void operator()(const char*, std::int64_t& member) { member = (INT64_C(1) << 40) + ++count; }
  void operator()(const char*, bool& member) { member = true; }
  void operator()(const char*, Content::Status& member) { member = Content::STATUS_FAILED; }
  // Longer than what a string keeps within itself.
  void operator()(const char*, std::string& member) {
    member = "text number " + std::to_string(++count) + ", which needs memory of its own";
  }
  void operator()(const char*, std::vector<int>& member) { member = {++count, ++count, ++count}; }
  template <StoreRecord Record>
  void operator()(const char*, std::vector<Record>& member) {
    member.resize(2);
    for (auto& record : member) fill(record);
  }
  template <StoreRecord Record>
  void operator()(const char*, Record& member) {
    fill(member);
  }
};

template <StoreRecord Record>
void fill(Record& record) {
  visit_members(record, Filler());
}

}  // namespace msg_consumer::conformance

#endif
