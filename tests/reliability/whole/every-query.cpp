// SPDX-License-Identifier: Apache-2.0
#include "every-query.hpp"

#include <msg-consumer-common/db.h>

#include <sstream>
#include <tuple>

#include "unit/store/record-compare.hpp"

namespace msg_consumer::test {
namespace {

using namespace msg_consumer::db;

/// Writes values one after the other; texts with their length, so that no two records look alike.
class Printer {
 public:
  void print(const std::string& text) { _out << text.size() << ':' << text << ' '; }
  template <typename Record>
  void print(const std::vector<Record>& list) {
    _out << '[';
    for (const auto& record : list) print(record);
    _out << "]\n";
  }
  template <typename Value>
  void print(const Value& value) {
    if constexpr (std::is_arithmetic_v<Value> || std::is_enum_v<Value>) {
      _out << +value << ' ';
    } else {
      std::apply([this](const auto&... member) { (this->print(member), ...); }, members(value));
      _out << '\n';
    }
  }

  std::string text() const { return _out.str(); }

 private:
  std::ostringstream _out;
};

// A record that a query failed to fill is as it was made.
template <typename Output, typename Ask>
Answer answer_of(Ask&& ask) {
  Output output{};
  const auto text_of = [](const Output& value) {
    Printer printer;
    printer.print(value);
    return printer.text();
  };
  const std::string before = text_of(output);
  const int status = ask(output);
  const std::string after = text_of(output);
  return {.status = status, .text = status == DB_OK || after != before ? after : ""};
}

template <typename Record>
Query one(const char* name, int (*query)(int, Record&), int id) {
  return {name, [=] { return answer_of<Record>([=](Record& record) { return query(id, record); }); }};
}

template <typename Record>
Query many(const char* name, int (*query)(int, std::vector<Record>&), int id) {
  return {name, [=] { return answer_of<std::vector<Record>>([=](auto& list) { return query(id, list); }); }};
}

template <typename Edit>
Query list(const char* name, Edit edit) {
  return {name, [=] {
            ListCondition condition;
            edit(condition);
            return answer_of<std::vector<Message>>(
                [&](auto& messages) { return db_get_message_list(condition, messages); });
          }};
}

Query metas(const char* name, int (*query)(std::vector<NmsMsgMeta>&)) {
  return {name, [=] { return answer_of<std::vector<NmsMsgMeta>>(query); }};
}

int uncorrelated(std::vector<NmsMsgMeta>& list) {
  return db_get_uncorrelated_nms_msg_metas("corr", NmsMsgMeta::CORRELATION_MESSAGE, NmsMsgMeta::SEARCH_PREFIX, true,
                                           list);
}

int subscription(std::string& text) {
  unsigned long long index = 0;
  std::string token;
  const int status = db_get_subscription_info(index, token);
  if (index != 0 || !token.empty()) text = std::to_string(index) + " " + token;
  return status;
}

int thread_of_addresses(int& thread_id) {
  Address first;
  first.address = "+491701000002";
  Address second;
  second.address = "+491701000003";
  return db_check_thread_address_exist({second, first}, &thread_id);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  return out << "status " << answer.status << ", " << answer.text.size() << " bytes: " << answer.text.substr(0, 300);
}

void PrintTo(const Query& query, std::ostream* out) { *out << query.name; }

const std::vector<Query>& every_query() {
  static const std::vector<Query> queries = {
      {"Open", [] { return Answer{.status = init_db(), .text = ""}; }},
      one("Message", db_get_message, 1),
      one("LongMessage", db_get_message, 3),
      one("MultimediaMessage", db_get_message, 2),
      list("AllMessages", [](ListCondition&) {}),
      list("SomeMessages",
           [](ListCondition& condition) {
             condition.num_a = 2;
             condition.num_b = 5;
             condition.flag_x = 0;
           }),
      list("MessagesOfAThread", [](ListCondition& condition) { condition.thread_ids = {1}; }),
      list("MessagesOfThreads",
           [](ListCondition& condition) {
             condition.thread_ids = {1, 2};
             condition.num_b = 4;
           }),
      list("UnreadMessages", [](ListCondition& condition) { condition.flag_y = 1; }),
      list("MessagesOfAType", [](ListCondition& condition) { condition.num_type = 2; }),
      list("MessagesWithAWord", [](ListCondition& condition) { condition.keyword = "needle"; }),
      list("MessagesWithTwoCharacters", [](ListCondition& condition) { condition.keyword = "ed"; }),
      one("Thread", db_get_thread, 1),
      {"Threads", [] { return answer_of<std::vector<Thread>>(db_get_threads); }},
      one("Conversation", db_get_conversation, 2),
      many("Conversations", db_get_conversations, 1),
      many("Addresses", db_get_addresses, 2),
      {"ThreadOfAddresses", [] { return answer_of<int>(thread_of_addresses); }},
      one("SendingContent", db_get_sending_msg_content_info, 2),
      {"NmsMeta",
       [] { return answer_of<NmsMsgMeta>([](NmsMsgMeta& meta) { return db_get_nms_msg_meta(0, "object-1", meta); }); }},
      metas("UncorrelatedNmsMetas", uncorrelated),
      metas("NmsMetasToSync",
            [](std::vector<NmsMsgMeta>& list) { return db_get_sync_required_nms_msg_metas(true, list); }),
      metas("NmsMetasToDownload", db_get_download_required_nms_msg_metas),
      {"Subscription", [] { return answer_of<std::string>(subscription); }},
      {"HasDownloadRequired",
       [] { return answer_of<bool>([](bool& exist) { return db_has_download_required_message(&exist); }); }},
  };
  return queries;
}

}  // namespace msg_consumer::test
