// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-common/db.h>

#include <algorithm>
#include <string>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "list-query.hpp"
#include "queries.hpp"
#include "query-frame.hpp"
#include "schema/address.hpp"
#include "schema/schema.hpp"
#include "session.hpp"

namespace msg_consumer::db {
namespace {

template <typename Record>
int answer_with_one(const CallSite& site, const char* sql, int id, Record& record) {
  return answer(site, [&](Session& session) { return fill(session.statement(sql).bind(1, id), record); });
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
  if (!key) throw InvalidArgument("an address is missing, empty or not UTF-8 text");
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
    return append_all(statement, list);
  });
}

int db_get_thread(int threadId, Thread& thread) { return answer_with_one(HERE, SELECT_THREAD, threadId, thread); }

int db_get_threads(std::vector<Thread>& list) {
  return answer(HERE, [&](Session& session) { return append_all(session.statement(SELECT_THREADS), list); });
}

int db_get_conversation(int msgId, Conversation& conversation) {
  return answer_with_one(HERE, SELECT_CONVERSATION, msgId, conversation);
}

int db_get_conversations(int threadId, std::vector<Conversation>& list) {
  return answer(HERE, [&](Session& session) {
    return append_all(session.statement(SELECT_CONVERSATIONS).bind(1, threadId), list);
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
    if (threadId == nullptr) throw InvalidArgument("threadId is null");
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
    const bool found = read_first(session.statement(SELECT_MESSAGE).bind(1, msgId), message);
    if (!found || message.num_e != OUTGOING) return DB_NO_RECORD;
    const auto part = transferred_part(message.contents);
    if (part == message.contents.end()) return DB_NO_RECORD;
    content = std::move(*part);
    return DB_OK;
  });
}

}  // namespace msg_consumer::db
