// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <thread>

#include "store/queries.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using namespace db;

constexpr std::size_t ALL_MESSAGES = 12;

/// Whether a query gives the whole answer.
bool reads_all() {
  std::vector<Message> list;
  return db_get_message_list(ListCondition(), list) == DB_OK && list.size() == ALL_MESSAGES;
}

void expect_reads(Findings& findings, const std::string& when) {
  findings.expect(reads_all(), "a query does not read all messages " + when);
}

void read_at_once(Findings& findings) { expect_reads(findings, "without init_db"); }

void repeat_init(Findings& findings) {
  expect_status(findings, "init_db", DB_OK, init_db());
  expect_status(findings, "init_db, again", DB_OK, init_db());
  expect_reads(findings, "after init_db");
}

void read_after_deinit(Findings& findings) {
  expect_reads(findings, "before deinit_db");
  expect_status(findings, "deinit_db", DB_OK, deinit_db());
  expect_reads(findings, "after deinit_db");
  expect_status(findings, "deinit_db", DB_OK, deinit_db());
  expect_status(findings, "init_db", DB_OK, init_db());
  expect_reads(findings, "after deinit_db and init_db");
}

void close_what_is_open(Findings& findings) {
  const auto before = open_files();
  init_db();
  init_db();
  expect_reads(findings, "after init_db");
  deinit_db();
  findings.equal("how many files are open", before, open_files());
}

void close_at_a_threads_end(Findings& findings) {
  expect_reads(findings, "on the first thread");
  // A store may keep what its first threads have opened for those to come.
  for (int i = 0; i < 3; ++i) std::thread(reads_all).join();
  const auto before = open_files();
  for (int i = 0; i < 20; ++i) std::thread(reads_all).join();
  findings.equal("how many files are open after twenty more threads", before, open_files());
}

void deinit_nothing(Findings& findings) {
  expect_status(findings, "deinit_db before anything else", DB_OK, deinit_db());
  expect_reads(findings, "after deinit_db");
}

void repeat_queries(Findings& findings) {
  int wrong = 0;
  for (int i = 0; i < 200; ++i) wrong += reads_all() ? 0 : 1;
  findings.equal("how many of 200 queries gave another answer", 0, wrong);
}

// Each query twice, and in turn with others: one that holds on to something is in the way of the next.
void mix_queries(Findings& findings) {
  for (int i = 0; i < 2; ++i) {
    Thread thread;
    Conversation conversation;
    Content content;
    NmsMsgMeta meta;
    std::vector<Thread> threads;
    std::vector<Conversation> conversations;
    std::vector<Address> addresses;
    std::vector<NmsMsgMeta> metas;
    int status = db_get_thread(1, thread) | db_get_threads(threads) | db_get_conversation(10, conversation) |
                 db_get_conversations(1, conversations) | db_get_addresses(1, addresses) |
                 db_get_sending_msg_content_info(20, content) | db_get_nms_msg_meta(10, "", meta) |
                 db_get_sync_required_nms_msg_metas(true, metas);
    findings.equal("what queries that find something answer, put together", DB_OK, status);
    status = db_get_thread(7, thread);
    findings.equal("what a query that finds nothing answers", DB_NO_RECORD, status);
  }
}

/// Runs `body` on several threads while `reads_all` fails on none of them.
template <typename Body>
void read_on_threads_while(Findings& findings, Body body) {
  std::atomic<bool> done = false;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&done, &wrong] {
      do {
        if (!reads_all()) ++wrong;
      } while (!done);
    });
  }
  body();
  done = true;
  for (auto& reader : readers) reader.join();
  findings.equal("how many queries on other threads gave another answer", 0, wrong.load());
}

void read_on_threads(Findings& findings) {
  read_on_threads_while(findings, [&] {
    for (int i = 0; i < 50; ++i) expect_reads(findings, "while other threads read");
  });
}

void deinit_during_queries(Findings& findings) {
  read_on_threads_while(findings, [] {
    for (int i = 0; i < 50; ++i) deinit_db();
  });
}

int read_in_child() { return reads_all() && deinit_db() == DB_OK && reads_all() ? 0 : 1; }

void read_after_fork(Findings& findings) {
  expect_reads(findings, "before fork");
  findings.equal("the child's exit status", 0, in_fork(read_in_child));
  expect_reads(findings, "after a child has read");
}

void fork_during_queries(Findings& findings) {
  read_on_threads_while(findings, [&] {
    for (int i = 0; i < 5; ++i) findings.equal("the child's exit status", 0, in_fork(read_in_child));
  });
}

}  // namespace

Sentences life_cycle_sentences() {
  return {
      {"life cycle", "a query opens the store itself", FILLED, read_at_once},
      {"life cycle", "init_db may be repeated", FILLED, repeat_init},
      {"life cycle", "queries go on after deinit_db", FILLED, read_after_deinit},
      {"life cycle", "one deinit_db closes all that was opened", FILLED, close_what_is_open},
      {"life cycle", "deinit_db may come first", FILLED, deinit_nothing},
      {"life cycle", "what a thread opened is closed at its end", FILLED, close_at_a_threads_end},
      {"life cycle", "a repeated query gives the same answer", FILLED, repeat_queries},
      {"life cycle", "no query is in the way of another", FILLED, mix_queries},
      {"life cycle", "several threads read at the same time", FILLED, read_on_threads},
      {"life cycle", "deinit_db lets running queries finish", FILLED, deinit_during_queries},
      {"life cycle", "a child reads after fork, and so does its parent", FILLED, read_after_fork},
      {"life cycle", "a child reads that was forked while other threads were reading", FILLED, fork_during_queries},
  };
}

}  // namespace msg_consumer::conformance
