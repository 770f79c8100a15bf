// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "store/record-json.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

/// A record of the same members, each as a new record has it.
Json blank(const Json& record) {
  if (record.is_boolean()) return false;
  if (record.is_number()) return 0;
  if (record.is_string()) return "";
  if (record.is_array()) return Json::array();
  Json object = record;
  for (auto& member : object) member = blank(member);
  return object;
}

template <StoreRecord Record>
void look_at_constructor(Findings& findings) {
  const Json seen = json_of(Record());
  Json expected = blank(seen);
  // The one default that is not nothing: newest first.
  if constexpr (std::is_same_v<Record, ListCondition>) expected["flag_x"] = 1;
  findings.equal("a new record", expected, seen);
}

// A library that was built with other headers writes where the program keeps something else.
template <StoreRecord Record>
void look_at_size(Findings& findings) {
  constexpr std::size_t MARGIN = 64;
  constexpr std::byte MARK{0xA5};
  alignas(Record) std::array<std::byte, sizeof(Record) + MARGIN> place{};
  place.fill(MARK);
  std::destroy_at(std::construct_at(reinterpret_cast<Record*>(place.data())));
  bool untouched = true;
  for (std::size_t i = sizeof(Record); i < place.size(); ++i) untouched = untouched && place.at(i) == MARK;
  findings.expect(untouched, "the constructor writes beyond the record's " + std::to_string(sizeof(Record)) + " bytes");
}

template <StoreRecord Record>
void look_at_copies(Findings& findings) {
  Record original;
  fill(original);
  const Json expected = json_of(original);
  Record copy(original);
  Record assigned;
  assigned = original;
  findings.equal("the copy", expected, json_of(copy));
  findings.equal("the assigned record", expected, json_of(assigned));
  const Record& itself = assigned;
  assigned = itself;
  findings.equal("the record assigned to itself", expected, json_of(assigned));
  copy = Record();
  assigned = Record();
  findings.equal("the original, once its copies have changed", expected, json_of(original));
}

/// Where a record's texts and lists lie in memory.
struct Memory {
  std::vector<const void*> blocks;

  template <typename Member>
  void operator()(const char*, const Member& member) {
    if constexpr (requires { member.data(); }) {
      blocks.push_back(member.data());
    } else if constexpr (StoreRecord<Member>) {
      visit_members(member, *this);
    }
  }
};

template <StoreRecord Record>
std::vector<const void*> memory_of(const Record& record) {
  Memory memory;
  visit_members(record, memory);
  return memory.blocks;
}

template <StoreRecord Record>
void look_at_moves(Findings& findings) {
  static_assert(std::is_nothrow_move_constructible_v<Record> && std::is_nothrow_move_assignable_v<Record>);
  Record original;
  fill(original);
  const Json expected = json_of(original);
  const auto memory = memory_of(original);
  Record moved(std::move(original));
  findings.equal("the moved record", expected, json_of(moved));
  findings.expect(memory_of(moved) == memory, "a move copied texts or lists");
  Record assigned;
  fill(assigned);
  assigned = std::move(moved);
  findings.equal("the record assigned by a move", expected, json_of(assigned));
  findings.expect(memory_of(assigned) == memory, "an assignment by a move copied texts or lists");
}

template <StoreRecord Record>
void add_sentences(const std::string& name, Sentences& sentences) {
  sentences.push_back({"records", name + " is made as its header says", "", look_at_constructor<Record>});
  sentences.push_back({"records", name + " keeps to its size", "", look_at_size<Record>});
  sentences.push_back({"records", name + " is copied with all its members", "", look_at_copies<Record>});
  sentences.push_back({"records", name + " is moved without a copy", "", look_at_moves<Record>});
}

}  // namespace

Sentences record_sentences() {
  Sentences sentences;
  add_sentences<Address>("an address", sentences);
  add_sentences<Content>("a content", sentences);
  add_sentences<Conversation>("a conversation", sentences);
  add_sentences<ListCondition>("a list condition", sentences);
  add_sentences<Message>("a message", sentences);
  add_sentences<NmsMsgMeta>("a record of metadata", sentences);
  add_sentences<Thread>("a thread", sentences);
  return sentences;
}

}  // namespace msg_consumer::conformance
