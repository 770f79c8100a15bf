// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/common_util.h>
#include <msg-consumer-platform/preference.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "named-row.hpp"
#include "support/log-capture.hpp"
#include "support/process.hpp"

namespace {

std::atomic<int> reads = 0;
int status_of_reads = 0;
bool value_of_reads = false;
std::string last_key;

}  // namespace

// Takes the place of the platform library's.
int preference_get_boolean(const char* key, bool* value) {
  ++reads;
  last_key = key;
  if (status_of_reads == 0) *value = value_of_reads;
  return status_of_reads;
}

namespace msg_consumer::common_util {
namespace {

struct Capability {
  const char* name;
  bool (*test)();
  const char* key;
};

void PrintTo(const Capability& capability, std::ostream* out) { *out << capability.name; }

/// Each test in a process of its own, since a capability is read once in a process's life.
class Capabilities : public testing::TestWithParam<Capability> {
 protected:
  template <typename Body>
  static void expect_in_new_process(Body body) {
    test::Process child([body] { return body() ? 0 : 1; });
    EXPECT_EQ(child.wait(), 0);
  }
};

TEST_P(Capabilities, AreWhatThePreferenceSays) {
  for (const bool value : {true, false}) {
    expect_in_new_process([value] {
      value_of_reads = value;
      return GetParam().test() == value && last_key == GetParam().key;
    });
  }
}

TEST_P(Capabilities, AreReadOnce) {
  expect_in_new_process([] {
    value_of_reads = true;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([] { GetParam().test(); });
    for (auto& thread : threads) thread.join();
    value_of_reads = false;
    return GetParam().test() && reads == 1;
  });
}

TEST_P(Capabilities, AreMissingWithAnErrorLineWhenTheyCannotBeRead) {
  expect_in_new_process([] {
    status_of_reads = -7;
    value_of_reads = true;
    if (GetParam().test()) return false;
    const auto lines = test::LogCapture::instance().lines();
    return lines.size() == 1 && lines.front().priority == 6 && lines.front().file == "common-util.cpp" &&
           lines.front().message == std::string("[ERROR] preference_get_boolean(") + GetParam().key + ") failed: (-7)";
  });
}

TEST_P(Capabilities, AreReadAgainAfterAFailure) {
  expect_in_new_process([] {
    status_of_reads = -7;
    if (GetParam().test()) return false;
    status_of_reads = 0;
    value_of_reads = true;
    return GetParam().test() && reads == 2;
  });
}

INSTANTIATE_TEST_SUITE_P(Both, Capabilities,
                         testing::Values(Capability{"NumberSync", is_numbersync_supported,
                                                    "consumer_preference_bool_numbersync_supported"},
                                         Capability{"WpcMode", is_wpc_mode, "consumer_preference_bool_wpc_mode"}),
                         test::name_of_row);

}  // namespace
}  // namespace msg_consumer::common_util
