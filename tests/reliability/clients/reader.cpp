// SPDX-License-Identifier: Apache-2.0
#include "reader.hpp"

#include <chrono>
#include <map>
#include <utility>

#include "checked-text.hpp"

namespace msg_consumer::test {

template <typename Query>
bool Reader::ask(const char* name, Query&& query) {
  const auto start = std::chrono::steady_clock::now();
  const int status = query();
  const auto took = std::chrono::steady_clock::now() - start;
  _latencies.push_back(static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
  check(status == db::DB_OK, std::string(name) + " failed with " + std::to_string(status));
  return status == db::DB_OK;
}

void Reader::check(bool is_right, const std::string& what) {
  if (!is_right) _wrong += what + "\n";
}

std::string Reader::read_all() {
  read_threads();
  read_thread();
  read_newest();
  read_one_thread();
  read_conversations();
  read_keyword("needle");
  read_keyword("ne");
  read_message();
  return std::exchange(_wrong, {});
}

// The messages of a thread are numbered from 0: its last text tells its count.
void Reader::read_threads() {
  std::vector<Thread> threads;
  if (!ask("threads", [&] { return db::db_get_threads(threads); })) return;
  std::map<int, int> counts;
  for (const Thread& thread : threads) {
    counts[thread.id] = thread.num_g;
    check(number_of(thread.str_n) == thread.num_g - 1, "a thread's last message is not that of its count");
  }
  const int lead = counts[FIRST_IN_TURN] - counts[SECOND_IN_TURN];
  check(lead == 0 || lead == 1, "the threads are of different moments");
}

void Reader::read_thread() {
  Thread thread;
  if (!ask("thread", [&] { return db::db_get_thread(FIRST_IN_TURN, thread); })) return;
  check(number_of(thread.str_n) == thread.num_g - 1, "the thread's last message is not that of its count");
  std::vector<Address> addresses;
  if (!ask("addresses", [&] { return db::db_get_addresses(FIRST_IN_TURN, addresses); })) return;
  check(addresses.size() == 1, "a participant too many or too few");
}

Reader::Messages Reader::list(const char* name, const ListCondition& condition) {
  Messages messages;
  ask(name, [&] { return db::db_get_message_list(condition, messages); });
  check_texts(name, messages);
  return messages;
}

// Newest first, and none is left out between two of a thread.
void Reader::check_texts(const char* name, const Messages& messages) {
  std::map<int, int> last;
  for (const Message& message : messages) {
    const auto number = number_of(message.str_d);
    check(number.has_value(), std::string(name) + ": a text is not whole");
    const auto [found, is_first] = last.emplace(message.num_b, number.value_or(0));
    check(is_first || number == found->second - 1, std::string(name) + ": a message is missing");
    found->second = number.value_or(0);
    check(message.num_b != WITH_FILES || message.contents.size() == 2, std::string(name) + ": a part is missing");
    for (const Content& part : message.contents) {
      check(part.num_b == message.id, std::string(name) + ": a part of another message");
    }
  }
}

void Reader::read_newest() {
  ListCondition condition;
  condition.num_b = 50;
  const Messages messages = list("newest messages", condition);
  if (!messages.empty()) _newest = messages.front().id;
}

void Reader::read_one_thread() {
  ListCondition condition;
  condition.thread_ids = {SECOND_IN_TURN};
  condition.num_b = 30;
  const Messages messages = list("messages of a thread", condition);
  check(!messages.empty() && messages.front().num_b == SECOND_IN_TURN, "a message of another thread");
}

void Reader::read_conversations() {
  std::vector<Conversation> conversations;
  ask("conversations", [&] { return db::db_get_conversations(WITH_FILES, conversations); });
  int next = 0;
  for (const Conversation& conversation : conversations) {
    check(number_of(conversation.str_d) == next++, "a conversation is missing or not whole");
    const bool has_parts = conversation.contents.size() == 2 && conversation.num_h == 2 &&
                           conversation.contents[0].str_l == conversation.str_d;
    check(has_parts, "a conversation's parts are not its own");
    check(static_cast<std::size_t>(conversation.num_p) == conversation.str_d.size() + ATTACHMENT.size(),
          "a conversation's size is not that of its parts");
  }
}

void Reader::read_keyword(const char* keyword) {
  ListCondition condition;
  condition.keyword = keyword;
  condition.num_b = 20;
  list(keyword, condition);
}

void Reader::read_message() {
  Message message;
  if (!ask("message", [&] { return db::db_get_message(_newest, message); })) return;
  check(message.id == _newest && number_of(message.str_d).has_value(), "a message is not whole");
}

}  // namespace msg_consumer::test
