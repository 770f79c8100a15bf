// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "list-query.hpp"
#include "queries.hpp"
#include "rows.hpp"
#include "schema/address.hpp"
#include "schema/schema.hpp"
#include "session.hpp"

namespace msg_consumer::db {
namespace {

/// Puts a result behind what the caller's list holds, all of it or, when memory runs out, nothing.
template <typename Record>
int append(std::vector<Record>& result, std::vector<Record>& list) {
  if (result.empty()) return DB_NO_RECORD;
  if (list.empty()) {
    list = std::move(result);
  } else {
    list.reserve(list.size() + result.size());
    std::move(result.begin(), result.end(), std::back_inserter(list));
  }
  return DB_OK;
}

/// Reads the row of an id; false when there is none.
template <typename Record>
bool find(Session& session, const char* sql, int id, Record& record) {
  auto& statement = session.statement(sql);
  const schema::ResetAtExit reset(statement);
  if (!statement.bind(1, id).step()) return false;
  read_row(statement, record);
  return true;
}

template <typename Record>
int answer_with_one(const CallSite& site, const char* sql, int id, Record& record) {
  return answer(site, [&](Session& session) {
    Record result;
    if (!find(session, sql, id, result)) return DB_NO_RECORD;
    record = std::move(result);
    return DB_OK;
  });
}

/// Reads all rows of a statement whose values are bound.
template <typename Record>
std::vector<Record> read_all(schema::Statement& statement) {
  const schema::ResetAtExit reset(statement);
  std::vector<Record> result;
  while (statement.step()) read_row(statement, result.emplace_back());
  return result;
}

enum Direction { OUTGOING = 2 };

/// The part that is under way, or else the first attachment.
std::vector<Content>::iterator transferred_part(std::vector<Content>& parts) {
  const auto is_running = [](const Content& part) { return part.status == Content::STATUS_RUNNING; };
  const auto is_attachment = [](const Content& part) { return part.flag_c == 0; };
  const auto running = std::find_if(parts.begin(), parts.end(), is_running);
  return running != parts.end() ? running : std::find_if(parts.begin(), parts.end(), is_attachment);
}

std::string key_of(const std::vector<Address>& addresses) {
  std::vector<std::string> texts(addresses.size());
  std::transform(addresses.begin(), addresses.end(), texts.begin(),
                 [](const Address& address) { return address.address; });
  auto key = schema::address_key(texts);
  if (!key) throw StoreError(DB_INVALID_ARGUMENT, "an address is missing, empty or not UTF-8 text");
  return *std::move(key);
}

}  // namespace

int init_db() {
  return answer(HERE, [](Session& session) {
    session.connection();
    return DB_OK;
  });
}

int deinit_db() {
  close_all_connections();
  return DB_OK;
}

int db_get_message(int msgId, Message& message) { return answer_with_one(HERE, SELECT_MESSAGE, msgId, message); }

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  return answer(HERE, [&](Session& session) {
    const ListQuery query(condition);
    auto& statement = session.statement(query.sql());
    query.bind(statement);
    auto result = read_all<Message>(statement);
    return append(result, list);
  });
}

int db_get_thread(int threadId, Thread& thread) { return answer_with_one(HERE, SELECT_THREAD, threadId, thread); }

int db_get_threads(std::vector<Thread>& list) {
  return answer(HERE, [&](Session& session) {
    auto result = read_all<Thread>(session.statement(SELECT_THREADS));
    return append(result, list);
  });
}

int db_get_conversation(int msgId, Conversation& conversation) {
  return answer_with_one(HERE, SELECT_CONVERSATION, msgId, conversation);
}

int db_get_conversations(int threadId, std::vector<Conversation>& list) {
  return answer(HERE, [&](Session& session) {
    auto result = read_all<Conversation>(session.statement(SELECT_CONVERSATIONS).bind(1, threadId));
    return append(result, list);
  });
}

int db_get_addresses(int threadId, std::vector<Address>& list) {
  return answer(HERE, [&](Session& session) {
    auto result = read_all<Address>(session.statement(SELECT_ADDRESSES).bind(1, threadId));
    if (result.size() == 1 && result.front().num_a == 0) return static_cast<int>(DB_OK);
    return append(result, list);
  });
}

int db_check_thread_address_exist(const std::vector<Address>& addresses, int* threadId) {
  return answer(HERE, [&](Session& session) {
    if (threadId == nullptr) throw StoreError(DB_INVALID_ARGUMENT, "threadId is null");
    const std::string key = key_of(addresses);
    auto& statement = session.statement(SELECT_THREAD_OF_ADDRESSES);
    const schema::ResetAtExit reset(statement);
    if (!statement.bind(1, key).step()) return DB_NO_RECORD;
    *threadId = static_cast<int>(statement.integer(0));
    return DB_OK;
  });
}

int db_get_sending_msg_content_info(int msgId, Content& content) {
  return answer(HERE, [&](Session& session) {
    Message message;
    if (!find(session, SELECT_MESSAGE, msgId, message) || message.num_e != OUTGOING) return DB_NO_RECORD;
    const auto part = transferred_part(message.contents);
    if (part == message.contents.end()) return DB_NO_RECORD;
    content = std::move(*part);
    return DB_OK;
  });
}

}  // namespace msg_consumer::db
