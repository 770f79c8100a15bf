// SPDX-License-Identifier: Apache-2.0
#include "store/queries.hpp"
#include "store/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

using namespace db;

void read_each_thread(Findings& findings) {
  for (const int id : {1, 2, 3, 8, 9}) {
    Thread thread;
    if (expect_status(findings, call("db_get_thread", id), DB_OK, db_get_thread(id, thread))) {
      findings.equal("thread " + std::to_string(id), expected_thread(id), json_of(thread));
    }
  }
}

void read_unknown_threads(Findings& findings) {
  for (const int id : UNKNOWN_IDS) {
    expect_untouched<Thread>(findings, call("db_get_thread", id), DB_NO_RECORD,
                             [id](Thread& thread) { return db_get_thread(id, thread); });
  }
}

void read_thread_order(Findings& findings) {
  std::vector<Thread> threads;
  expect_status(findings, "db_get_threads", DB_OK, db_get_threads(threads));
  findings.equal("the threads' ids", Json({8, 3, 2, 1, 9}), ids_of(threads));
}

void read_listed_threads(Findings& findings) {
  std::vector<Thread> threads;
  expect_status(findings, "db_get_threads", DB_OK, db_get_threads(threads));
  for (const auto& thread : threads) {
    findings.equal("thread " + std::to_string(thread.id), expected_thread(thread.id), json_of(thread));
  }
}

void append_threads(Findings& findings) {
  std::vector<Thread> threads(1);
  expect_status(findings, "db_get_threads", DB_OK, db_get_threads(threads));
  findings.equal("the threads' ids", 6, threads.size());
  findings.equal("the id of the one that was there", 0, threads.front().id);
}

void list_no_threads(Findings& findings) {
  expect_nothing_listed<Thread>(findings, "db_get_threads", DB_NO_RECORD, db_get_threads);
}

Json addresses_of(const std::vector<Address>& addresses) {
  Json holder;
  holder["addresses"] = json_of(addresses);
  return without_row_ids(holder)["addresses"];
}

void read_addresses(Findings& findings) {
  for (const int id : {1, 2, 3, 8}) {
    std::vector<Address> addresses;
    expect_status(findings, call("db_get_addresses", id), DB_OK, db_get_addresses(id, addresses));
    findings.equal("the addresses of thread " + std::to_string(id), expected_addresses(id), addresses_of(addresses));
  }
}

void read_no_addresses(Findings& findings) {
  expect_nothing_listed<Address>(findings, "db_get_addresses of an existing thread", DB_OK,
                                 [](auto& list) { return db_get_addresses(9, list); });
}

void read_unknown_addresses(Findings& findings) {
  for (const int id : UNKNOWN_IDS) {
    expect_nothing_listed<Address>(findings, call("db_get_addresses", id), DB_NO_RECORD,
                                   [id](auto& list) { return db_get_addresses(id, list); });
  }
}

std::vector<Address> participants(const std::vector<std::string>& texts) {
  std::vector<Address> addresses(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) addresses[i].address = texts[i];
  return addresses;
}

constexpr int UNTOUCHED = 4711;

/// Holds the status of a search for a thread, and what was written: the thread, or nothing.
void find(Findings& findings, const std::vector<Address>& addresses, int expected, int thread) {
  int found = UNTOUCHED;
  const std::string what = "db_check_thread_address_exist of " + shown(addresses_of(addresses));
  expect_status(findings, what, expected, db_check_thread_address_exist(addresses, &found));
  findings.equal("the thread id of " + what, thread, found);
}

void find_threads(Findings& findings) {
  find(findings, participants({"+491701234567"}), DB_OK, 1);
  find(findings, participants({"+49 170 1234567", "bob@example.org"}), DB_OK, 2);
  find(findings, participants({"200", "100", "300"}), DB_OK, 3);
}

void find_in_any_order(Findings& findings) {
  find(findings, participants({"bob@example.org", "+49 170 1234567"}), DB_OK, 2);
  find(findings, participants({"300", "100", "200", "100"}), DB_OK, 3);
  find(findings, participants({"+491701234567", "+491701234567"}), DB_OK, 1);
}

void find_by_normal_form(Findings& findings) {
  find(findings, participants({"+49 (170) 123-45.67"}), DB_OK, 1);
  find(findings, participants({"BOB@Example.ORG", "+491701234567"}), DB_OK, 2);
}

void find_by_text_alone(Findings& findings) {
  auto addresses = participants({"+491701234567"});
  addresses.front().num_a = 99;
  addresses.front().num_b = 2;
  addresses.front().num_c = 3;
  addresses.front().flag_e = 1;
  find(findings, addresses, DB_OK, 1);
}

void find_no_other_set(Findings& findings) {
  find(findings, participants({"bob@example.org"}), DB_NO_RECORD, UNTOUCHED);
  find(findings, participants({"100", "200"}), DB_NO_RECORD, UNTOUCHED);
  find(findings, participants({"+491701234567", "100"}), DB_NO_RECORD, UNTOUCHED);
  find(findings, participants({"01701234567"}), DB_NO_RECORD, UNTOUCHED);
}

void refuse_addresses(Findings& findings) {
  find(findings, {}, DB_INVALID_ARGUMENT, UNTOUCHED);
  find(findings, participants({""}), DB_INVALID_ARGUMENT, UNTOUCHED);
  find(findings, participants({"100", " - "}), DB_INVALID_ARGUMENT, UNTOUCHED);
  find(findings, participants({"\xFF"}), DB_INVALID_ARGUMENT, UNTOUCHED);
  expect_status(findings, "db_check_thread_address_exist without a place for the id", DB_INVALID_ARGUMENT,
                db_check_thread_address_exist(participants({"100"}), nullptr));
}

}  // namespace

Sentences thread_sentences() {
  return {
      {"threads", "a thread is read with its counts and its last message", FILLED, read_each_thread},
      {"threads", "an unknown thread is not found, and the record is left alone", FILLED, read_unknown_threads},
      {"threads", "all threads come newest first, of two as new the one with the higher id", FILLED, read_thread_order},
      {"threads", "a listed thread is the thread that is read alone", FILLED, read_listed_threads},
      {"threads", "threads are appended to what the list holds", FILLED, append_threads},
      {"threads", "a store without threads has no record", EMPTY, list_no_threads},
      {"addresses", "a thread's participants come in the order in which they were added", FILLED, read_addresses},
      {"addresses", "a thread without participants is found", FILLED, read_no_addresses},
      {"addresses", "an unknown thread has no record", FILLED, read_unknown_addresses},
      {"addresses", "a thread is found by its participants", FILLED, find_threads},
      {"addresses", "neither order nor repetition of participants matters", FILLED, find_in_any_order},
      {"addresses", "punctuation of numbers and case of e-mail addresses do not matter", FILLED, find_by_normal_form},
      {"addresses", "only the texts of participants matter", FILLED, find_by_text_alone},
      {"addresses", "other participants, more or fewer, find nothing", FILLED, find_no_other_set},
      {"addresses", "what is no participant is refused", FILLED, refuse_addresses},
  };
}

}  // namespace msg_consumer::conformance
