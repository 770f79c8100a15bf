// SPDX-License-Identifier: Apache-2.0
#include <set>

#include "store/queries.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using namespace db;

constexpr std::array MESSAGES = {10, 11, 12, 13, 20, 21, 22, 23, 30, 31, 32, 40};

/// Reads one message; a finding and an empty one when it is not there.
Message message(Findings& findings, int id) {
  Message result;
  expect_status(findings, call("db_get_message", id), DB_OK, db_get_message(id, result));
  return result;
}

void read_each_message(Findings& findings) {
  for (const int id : MESSAGES) {
    findings.equal("message " + std::to_string(id), expected_message(id),
                   without_row_ids(json_of(message(findings, id))));
  }
}

void read_row_ids(Findings& findings) {
  std::set<int> contents;
  std::size_t count = 0;
  for (const int id : MESSAGES) {
    for (const auto& content : message(findings, id).contents) {
      findings.expect(content.id > 0,
                      "a part of message " + std::to_string(id) + " has the id " + std::to_string(content.id));
      contents.insert(content.id);
      ++count;
    }
  }
  findings.equal("how many ids the parts have", count, contents.size());
}

void read_unknown_messages(Findings& findings) {
  for (const int id : UNKNOWN_IDS) {
    expect_untouched<Message>(findings, call("db_get_message", id), DB_NO_RECORD,
                              [id](Message& record) { return db_get_message(id, record); });
  }
}

void read_over_a_message(Findings& findings) {
  Message record;
  fill(record);
  expect_status(findings, call("db_get_message", 13), DB_OK, db_get_message(13, record));
  findings.equal("message 13", expected_message(13), without_row_ids(json_of(record)));
}

void read_each_conversation(Findings& findings) {
  for (const int id : MESSAGES) {
    Conversation conversation;
    expect_status(findings, call("db_get_conversation", id), DB_OK, db_get_conversation(id, conversation));
    findings.equal("conversation " + std::to_string(id), expected_conversation(id),
                   without_row_ids(json_of(conversation)));
  }
}

void read_unknown_conversations(Findings& findings) {
  for (const int id : UNKNOWN_IDS) {
    expect_untouched<Conversation>(findings, call("db_get_conversation", id), DB_NO_RECORD,
                                   [id](Conversation& record) { return db_get_conversation(id, record); });
  }
}

void read_conversation_order(Findings& findings) {
  std::vector<Conversation> list;
  expect_status(findings, call("db_get_conversations", 1), DB_OK, db_get_conversations(1, list));
  findings.equal("the messages of thread 1", Json({10, 12, 13, 11}), ids_of(list));
  list.clear();
  expect_status(findings, call("db_get_conversations", 3), DB_OK, db_get_conversations(3, list));
  findings.equal("the messages of thread 3", Json({31, 32, 30}), ids_of(list));
}

void read_listed_conversations(Findings& findings) {
  std::vector<Conversation> list;
  expect_status(findings, call("db_get_conversations", 2), DB_OK, db_get_conversations(2, list));
  findings.equal("how many messages thread 2 has", 4, list.size());
  for (const auto& conversation : list) {
    findings.equal("conversation " + std::to_string(conversation.id), expected_conversation(conversation.id),
                   without_row_ids(json_of(conversation)));
  }
}

void read_no_conversations(Findings& findings) {
  expect_nothing_listed<Conversation>(findings, "db_get_conversations of a thread without messages", DB_NO_RECORD,
                                      [](auto& list) { return db_get_conversations(9, list); });
  for (const int id : UNKNOWN_IDS) {
    expect_nothing_listed<Conversation>(findings, call("db_get_conversations", id), DB_NO_RECORD,
                                        [id](auto& list) { return db_get_conversations(id, list); });
  }
}

void append_conversations(Findings& findings) {
  std::vector<Conversation> list(1);
  expect_status(findings, call("db_get_conversations", 1), DB_OK, db_get_conversations(1, list));
  findings.equal("the ids in the list", Json({0, 10, 12, 13, 11}), ids_of(list));
}

void expect_part(Findings& findings, int id, const std::string& file_name) {
  Content content;
  const std::string what = call("db_get_sending_msg_content_info", id);
  expect_status(findings, what, DB_OK, db_get_sending_msg_content_info(id, content));
  findings.equal("the file's name from " + what, file_name, content.str_h);
  findings.equal("the message id from " + what, id, content.num_b);
}

void read_running_part(Findings& findings) { expect_part(findings, 20, "film.mp4"); }

void read_first_attachment(Findings& findings) { expect_part(findings, 21, "first.ogg"); }

void read_no_part(Findings& findings) {
  for (const int id : {22, 11, 23, 7, 0, -1}) {
    expect_untouched<Content>(findings, call("db_get_sending_msg_content_info", id), DB_NO_RECORD,
                              [id](Content& content) { return db_get_sending_msg_content_info(id, content); });
  }
}

}  // namespace

Sentences message_sentences() {
  return {
      {"messages", "a message is read with all that belongs to it", FILLED, read_each_message},
      {"messages", "each part has an id of its own", FILLED, read_row_ids},
      {"messages", "an unknown message is not found, and the record is left alone", FILLED, read_unknown_messages},
      {"messages", "nothing is left over of what the record held before", FILLED, read_over_a_message},
      {"conversations", "a message is read as its thread shows it", FILLED, read_each_conversation},
      {"conversations", "an unknown message is not found, and the record is left alone", FILLED,
       read_unknown_conversations},
      {"conversations", "a thread's messages come oldest first, of two as old the one with the lower id", FILLED,
       read_conversation_order},
      {"conversations", "a listed message is the message that is read alone", FILLED, read_listed_conversations},
      {"conversations", "a thread without messages, like an unknown one, has no record", FILLED, read_no_conversations},
      {"conversations", "messages are appended to what the list holds", FILLED, append_conversations},
      {"transfers", "of an outgoing message's parts the one under way is read", FILLED, read_running_part},
      {"transfers", "where none is under way, the first attachment is read", FILLED, read_first_attachment},
      {"transfers", "no attachment, an incoming message and an unknown one have no record", FILLED, read_no_part},
  };
}

}  // namespace msg_consumer::conformance
