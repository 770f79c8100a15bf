// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer-platform/preference.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <thread>

#include "platform/sentences.hpp"

namespace msg_consumer::conformance {
namespace {

constexpr const char* STATUS = "consumer_preference_int_consumer_status";
constexpr const char* DELAY = "consumer_preference_int_delay_noti_event";
constexpr const char* SENDING_MMS = "consumer_preference_bool_support_sending_mms";
constexpr const char* NUMBER_SYNC = "consumer_preference_bool_numbersync_supported";
constexpr const char* WPC_MODE = "consumer_preference_bool_wpc_mode";

constexpr int UNTOUCHED = 4711;

struct IntValue {
  const char* key;
  int value;
};

struct BooleanValue {
  const char* key;
  bool value;
};

void expect_int(Findings& findings, const char* key, int expected) {
  int value = UNTOUCHED;
  findings.equal(std::string("the status of preference_get_int(") + key + ")", 0, preference_get_int(key, &value));
  findings.equal(key, expected, value);
}

void expect_boolean(Findings& findings, const char* key, bool expected) {
  bool value = !expected;
  findings.equal(std::string("the status of preference_get_boolean(") + key + ")", 0,
                 preference_get_boolean(key, &value));
  findings.equal(key, expected, value);
}

void expect_negative(Findings& findings, const std::string& what, int status) {
  findings.expect(status < 0, what + " gives " + std::to_string(status) + " and not a negative status");
}

/// Holds that both readers, whichever the key's type, are refused and write nothing.
void refuse_int(Findings& findings, const char* key) {
  int value = UNTOUCHED;
  expect_negative(findings, std::string("preference_get_int(") + key + ")", preference_get_int(key, &value));
  findings.equal(std::string("the number handed over with ") + key, UNTOUCHED, value);
}

void refuse_boolean(Findings& findings, const char* key) {
  for (const bool before : {false, true}) {
    bool value = before;
    expect_negative(findings, std::string("preference_get_boolean(") + key + ")", preference_get_boolean(key, &value));
    findings.equal(std::string("the boolean handed over with ") + key, before, value);
  }
}

void set(Findings& findings, const char* key, int value) {
  findings.equal(std::string("the status of preference_set_int(") + key + ")", 0, preference_set_int(key, value));
}

void read_defaults(Findings& findings) {
  for (const auto& [key, value] : {IntValue{STATUS, 0}, IntValue{DELAY, 0}}) expect_int(findings, key, value);
  for (const auto& [key, value] :
       {BooleanValue{SENDING_MMS, true}, BooleanValue{NUMBER_SYNC, true}, BooleanValue{WPC_MODE, false}}) {
    expect_boolean(findings, key, value);
  }
}

void read_stored(Findings& findings) {
  for (const auto& [key, value] : {IntValue{STATUS, 1}, IntValue{DELAY, -30}}) expect_int(findings, key, value);
  for (const auto& [key, value] :
       {BooleanValue{SENDING_MMS, false}, BooleanValue{NUMBER_SYNC, false}, BooleanValue{WPC_MODE, true}}) {
    expect_boolean(findings, key, value);
  }
}

void write_numbers(Findings& findings) {
  for (const int value : {1, 0, -1, INT_MAX, INT_MIN}) {
    set(findings, DELAY, value);
    expect_int(findings, DELAY, value);
  }
}

void write_default(Findings& findings) {
  set(findings, DELAY, 0);
  expect_int(findings, DELAY, 0);
}

void keep_other_keys(Findings& findings) {
  set(findings, DELAY, 7);
  expect_int(findings, STATUS, 1);
  expect_boolean(findings, SENDING_MMS, false);
  expect_boolean(findings, NUMBER_SYNC, false);
  expect_boolean(findings, WPC_MODE, true);
}

void refuse_unknown_keys(Findings& findings) {
  for (const char* key : {"", "unknown", "consumer_preference_int_consumer_statu", "preferences"}) {
    refuse_int(findings, key);
    refuse_boolean(findings, key);
    expect_negative(findings, std::string("preference_set_int(") + key + ")", preference_set_int(key, 1));
  }
}

void refuse_other_types(Findings& findings) {
  for (const char* key : {SENDING_MMS, NUMBER_SYNC, WPC_MODE}) {
    refuse_int(findings, key);
    expect_negative(findings, std::string("preference_set_int(") + key + ")", preference_set_int(key, 1));
  }
  for (const char* key : {STATUS, DELAY}) refuse_boolean(findings, key);
}

void refuse_null(Findings& findings) {
  int number = UNTOUCHED;
  bool boolean = true;
  expect_negative(findings, "preference_get_int without a key", preference_get_int(nullptr, &number));
  expect_negative(findings, "preference_get_int without an output", preference_get_int(STATUS, nullptr));
  expect_negative(findings, "preference_get_boolean without a key", preference_get_boolean(nullptr, &boolean));
  expect_negative(findings, "preference_get_boolean without an output", preference_get_boolean(WPC_MODE, nullptr));
  expect_negative(findings, "preference_set_int without a key", preference_set_int(nullptr, 1));
  findings.equal("the number handed over", UNTOUCHED, number);
  findings.equal("the boolean handed over", true, boolean);
}

void refuse_wrong_values(Findings& findings) {
  refuse_int(findings, STATUS);
  refuse_boolean(findings, WPC_MODE);
  expect_boolean(findings, NUMBER_SYNC, true);
}

void refuse_large_numbers(Findings& findings) {
  refuse_int(findings, STATUS);
  refuse_int(findings, DELAY);
}

void refuse_unreadable(Findings& findings) {
  for (const char* key : {STATUS, DELAY}) refuse_int(findings, key);
  for (const char* key : {SENDING_MMS, NUMBER_SYNC, WPC_MODE}) refuse_boolean(findings, key);
  expect_negative(findings, "preference_set_int", preference_set_int(DELAY, 1));
}

void see_other_processes(Findings& findings) {
  expect_int(findings, DELAY, 0);
  for (const int value : {5, 6}) {
    findings.equal("the status of another process's preference_set_int", 0,
                   in_fork([value] { return preference_set_int(DELAY, value) == 0 ? 0 : 1; }));
    expect_int(findings, DELAY, value);
  }
  set(findings, DELAY, 9);
  findings.equal("whether another process reads the new value", 0, in_fork([] {
                   int value = 0;
                   return preference_get_int(DELAY, &value) == 0 && value == 9 ? 0 : 1;
                 }));
}

// A reader may come in the middle of a change: it must find the value before or the value after.
void see_whole_changes(Findings& findings) {
  set(findings, DELAY, 1);
  int wrong = 0;
  const pid_t writer = fork();
  if (writer == 0) {
    for (int i = 0; i < 100; ++i) preference_set_int(DELAY, i % 2 == 0 ? 123456789 : 1);
    _exit(0);
  }
  while (waitpid(writer, nullptr, WNOHANG) == 0) {
    int value = 0;
    const bool good = preference_get_int(DELAY, &value) == 0 && (value == 1 || value == 123456789);
    wrong += good ? 0 : 1;
  }
  findings.equal("how many reads during changes found neither value", 0, wrong);
}

void lose_no_change(Findings& findings) {
  constexpr int CHANGES = 40;
  const pid_t other = fork();
  if (other == 0) {
    for (int i = 1; i <= CHANGES; ++i) preference_set_int(STATUS, i);
    _exit(0);
  }
  for (int i = 1; i <= CHANGES; ++i) set(findings, DELAY, i);
  waitpid(other, nullptr, 0);
  expect_int(findings, STATUS, CHANGES);
  expect_int(findings, DELAY, CHANGES);
}

void read_on_threads(Findings& findings) {
  std::array<int, 4> wrong{};
  std::vector<std::thread> readers;
  for (auto& count : wrong) {
    readers.emplace_back([&count] {
      for (int i = 0; i < 100; ++i) {
        int value = 0;
        count += preference_get_int(STATUS, &value) == 0 && value == 1 ? 0 : 1;
      }
    });
  }
  for (auto& reader : readers) reader.join();
  findings.equal("how many reads gave something else, by thread", Json({0, 0, 0, 0}), wrong);
}

}  // namespace

Sentences preference_sentences() {
  constexpr bool CHANGES = true;
  return {
      {"preferences", "a key that nothing is stored for has its default", DEFAULTS, read_defaults},
      {"preferences", "a stored value is read", STORED, read_stored},
      {"preferences", "several threads read at the same time", STORED, read_on_threads},
      {"preferences", "a written number is read again, whatever it is", DEFAULTS, write_numbers, CHANGES},
      {"preferences", "a number is written that is the default", STORED, write_default, CHANGES},
      {"preferences", "a change keeps the other keys", STORED, keep_other_keys, CHANGES},
      {"preferences", "an unknown key is refused, and the output is left alone", DEFAULTS, refuse_unknown_keys},
      {"preferences", "a key of another type is refused, and the output is left alone", DEFAULTS, refuse_other_types},
      {"preferences", "a call without key or output is refused", DEFAULTS, refuse_null},
      {"preferences", "a stored value of a wrong type is refused", WRONG_VALUES, refuse_wrong_values},
      {"preferences", "a stored number of more than 32 bits is refused", TOO_LARGE, refuse_large_numbers},
      {"preferences", "preferences that cannot be read are no defaults", UNREADABLE, refuse_unreadable},
      {"preferences", "another process's change is seen at the next call, and the other way round", DEFAULTS,
       see_other_processes, CHANGES},
      {"preferences", "no process sees half a change", DEFAULTS, see_whole_changes, CHANGES},
      {"preferences", "two processes that write lose no change", DEFAULTS, lose_no_change, CHANGES},
  };
}

}  // namespace msg_consumer::conformance
