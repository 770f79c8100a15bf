// SPDX-License-Identifier: Apache-2.0
#include "emulator-on-bus.hpp"
#include "support/log-capture.hpp"

namespace msg_consumer::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

/// What an application hears of two arrivals, the first of which meets a fault.
struct Row {
  const char* name;
  Json step;
  std::vector<std::string> heard;
  const char* logged;  ///< part of a line of the library; null when nothing is wrong
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.step; }

constexpr const char* FIRST = R"({"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})";
constexpr const char* SECOND = R"({"event":"added","revision":2,"message_ids":[2],"thread_ids":[1]})";

class SignalFaults : public EmulatorOnBus, public testing::WithParamInterface<Row> {};

TEST_P(SignalFaults, AreHeardAndLogged) {
  const Row& row = GetParam();
  start({row.step});
  LogCapture::instance().clear();
  const Json arrival = {{"do", "receive"}, {"type", "sms"}, {"from", "+15550100"}, {"text", "secret text"}};
  emulator->perform(arrival);
  emulator->perform(arrival);
  EXPECT_TRUE(hears(row.heard.size()));
  EXPECT_THAT(events(), ElementsAreArray(row.heard));
  if (row.logged != nullptr) {
    EXPECT_THAT(LogCapture::instance().messages(), Contains(HasSubstr(row.logged)));
  }
  EXPECT_FALSE(LogCapture::instance().contains("secret"));
}

Json signals(const Json& effect) {
  Json step = {{"do", "signals"}};
  step.update(effect);
  return step;
}

INSTANTIATE_TEST_SUITE_P(
    EachFault, SignalFaults,
    testing::Values(
        Row{"Dropped", signals({{"how", "drop"}}), {SECOND}, nullptr},
        Row{"Doubled", signals({{"how", "double"}}), {FIRST, FIRST, SECOND}, nullptr},
        Row{"DoubledTwice", signals({{"how", "double"}, {"times", 2}}), {FIRST, FIRST, SECOND, SECOND}, nullptr},
        Row{"NotJson", signals({{"how", "malform"}}), {"this is {not JSON", SECOND}, nullptr},
        Row{"OfAnotherType",
            signals({{"how", "malform"}, {"form", "wrong-type"}}),
            {SECOND},
            "signal:(storage_changed), error:(the parameters are of type (i) instead of (s))"},
        Row{"Empty",
            signals({{"how", "malform"}, {"form", "empty"}}),
            {SECOND},
            "signal:(storage_changed), error:(the parameters are of type () instead of (s))"},
        Row{"Late", signals({{"how", "delay"}, {"delay_ms", 500}}), {SECOND, FIRST}, nullptr}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::test
