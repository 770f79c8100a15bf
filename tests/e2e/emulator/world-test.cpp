// SPDX-License-Identifier: Apache-2.0
#include "emulator-on-bus.hpp"

namespace msg_consumer::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

enum Delivery { QUEUED = 1, SENT = 3, DELIVERED = 4, FAILED = 5 };

using World = EmulatorOnBus;

TEST_F(World, LetsSendsWaitUntilTheyAreReleased) {
  start({{{"do", "network"}, {"sends", "hold"}}});
  const int first = send("+1", "first");
  emulator->perform({{"do", "network"}, {"sends", "release"}});
  const int second = send("+1", "second");
  EXPECT_TRUE(becomes(first, "delivery", DELIVERED));
  EXPECT_EQ(message(second)["delivery"], QUEUED) << "what came later is held";
  emulator->perform({{"do", "network"}, {"sends", "deliver"}});
  EXPECT_TRUE(becomes(second, "delivery", DELIVERED));
}

TEST_F(World, FailsTheNextSendsAndDeliversThoseAfter) {
  // What was held goes together.
  start({{{"do", "network"}, {"sends", "hold"}}});
  const int first = send("+1", "first");
  const int second = send("+1", "second");
  const int third = send("+1", "third");
  emulator->perform({{"do", "network"}, {"sends", "fail"}, {"times", 2}});
  EXPECT_TRUE(becomes(first, "delivery", FAILED));
  EXPECT_TRUE(becomes(second, "delivery", FAILED));
  EXPECT_TRUE(becomes(third, "delivery", DELIVERED));
  EXPECT_EQ(msg_consumer_resend_message(first), 0);
  EXPECT_TRUE(becomes(first, "delivery", DELIVERED));
  EXPECT_EQ(emulator->state()["network"]["sends"], "deliver");
}

TEST_F(World, FailsAllSendsUntilItIsToldOtherwise) {
  start({{{"do", "network"}, {"sends", "fail"}}});
  const int id = send("+1", "text");
  EXPECT_TRUE(becomes(id, "delivery", FAILED));
  EXPECT_EQ(msg_consumer_resend_message(id), 0);
  EXPECT_TRUE(becomes(id, "delivery", FAILED));
}

TEST_F(World, ReportsDeliveryWhenItIsTold) {
  start({{{"do", "network"}, {"reports", false}}});
  const int first = send("+1", "first");
  const int second = send("+1", "second");
  const Json good = {{"do", "report"}, {"message", first}, {"result", "delivered"}};
  ASSERT_TRUE(becomes(first, "delivery", SENT));
  ASSERT_TRUE(becomes(second, "delivery", SENT));
  emulator->perform(good);
  emulator->perform({{"do", "report"}, {"message", "latest"}, {"result", "failed"}});
  EXPECT_EQ(message(first)["delivery"], DELIVERED);
  EXPECT_EQ(message(second)["delivery"], FAILED);
  EXPECT_THAT(emulator->try_to(good).error,
              EndsWith("InvalidStep: message: it does not await a report of its delivery"));
  EXPECT_THAT(emulator->try_to({{"do", "report"}, {"message", 4711}, {"result", "failed"}}).error,
              EndsWith("InvalidStep: message: there is no such message"));
}

TEST_F(World, HasNoLatestMessageInAnEmptyStore) {
  start();
  EXPECT_THAT(emulator->try_to({{"do", "report"}, {"message", "latest"}, {"result", "failed"}}).error,
              EndsWith("there is no such message"));
}

struct PhoneRow {
  const char* name;
  Json mode;
  std::string event;  ///< what is announced, empty for nothing
  bool is_exported;
};

void PrintTo(const PhoneRow& row, std::ostream* out) { *out << row.mode; }

class PhoneAnswers : public EmulatorOnBus, public testing::WithParamInterface<PhoneRow> {};

TEST_P(PhoneAnswers, AreAnnounced) {
  start({{{"do", "receive"}, {"type", "sms"}, {"from", "+1"}}, GetParam().mode});
  EXPECT_EQ(msg_consumer_store_message(1), 0);
  EXPECT_EQ(message(1)["exported"], GetParam().is_exported);
  // Whatever came of it has come before this.
  EXPECT_EQ(msg_consumer_read_message(1), 0);
  ASSERT_TRUE(hears(std::string(R"("event":"changed")")));
  const std::string before = events().size() > 1 ? events()[0] : "";
  EXPECT_EQ(before, GetParam().event);
}

INSTANTIATE_TEST_SUITE_P(
    EachAnswer, PhoneAnswers,
    testing::Values(PhoneRow{"Accepted",
                             {{"do", "phone"}, {"answers", "accept"}},
                             R"({"event":"exported","revision":2,"message_ids":[1],"thread_ids":[1]})",
                             true},
                    PhoneRow{"Refused",
                             {{"do", "phone"}, {"answers", "refuse"}, {"status", -9}},
                             R"({"event":"refused","revision":2,"message_ids":[1],"thread_ids":[1],"status":-9})",
                             false},
                    PhoneRow{"Silent", {{"do", "phone"}, {"answers", "silent"}}, "", false}),
    [](const auto& row) { return row.param.name; });

TEST_F(World, NotifiesOfMetadata) {
  start({{{"do", "receive"}, {"type", "sms"}, {"from", "+1"}}});
  const Json step = {{"do", "network-store"}, {"meta", {{"message", "latest"}, {"object_id", "o1"}, {"seen", true}}}};
  EXPECT_EQ(emulator->perform(step), (Json{{"changed", true}}));
  EXPECT_TRUE(hears(R"({"event":"meta_changed","revision":2,"message_ids":[1],"thread_ids":[]})"));
  EXPECT_EQ(message(1)["object_id"], "o1");
  EXPECT_EQ(emulator->perform(step), (Json{{"changed", false}}));
  EXPECT_THAT(emulator->try_to({{"do", "network-store"}, {"meta", {{"message", 4711}}}}).error,
              HasSubstr("there is no such message"));
}

TEST_F(World, NotifiesOfANewSubscription) {
  start();
  emulator->perform({{"do", "network-store"}, {"subscription", {{"index", 18446744073709551615U}, {"token", "t"}}}});
  EXPECT_TRUE(hears(std::string("subscription_changed")));
  auto* info = static_cast<msg_nms_mssi_info_t*>(std::calloc(1, sizeof(msg_nms_mssi_info_t)));
  EXPECT_EQ(msg_consumer_nms_get_mssi_info(info), 0);
  EXPECT_EQ(info->noti_index, 18446744073709551615U);
  EXPECT_STREQ(info->restart_token, "t");
  msg_consumer_free_nms_mssi_info(info);
}

TEST_F(World, TellsWhatItWasAskedAndWhatIsArmed) {
  start();
  send("+1", "text");
  EXPECT_EQ(msg_consumer_send_change_sms_application_request(true), 0);
  const Json fault = {{"do", "fault"}, {"method", "read_thread"}, {"times", 2}, {"status", -1}};
  emulator->perform(fault);
  emulator->perform({{"do", "signals"}, {"how", "drop"}, {"times", 0}});
  emulator->perform({{"do", "disk-full"}});
  EXPECT_EQ(msg_consumer_read_thread_message(1), -1);
  const Json state = emulator->state();
  EXPECT_EQ(state["calls"],
            (Json{{"read_thread", 1}, {"send_change_sms_application_request", 1}, {"send_message", 1}}));
  EXPECT_EQ(state["faults"][0]["remaining"], 1);
  EXPECT_EQ(state["signals"][0]["remaining"], "until cleared");
  EXPECT_EQ(state["disk_full"], (Json{{"remaining", "until cleared"}}));
  EXPECT_EQ(state["device_requests"][0]["request"], "send_change_sms_application_request");
  emulator->perform({{"do", "clear"}});
  EXPECT_THAT(emulator->state()["faults"], IsEmpty());
  EXPECT_THAT(emulator->state()["signals"], IsEmpty());
  EXPECT_EQ(emulator->state()["disk_full"], nullptr);
  EXPECT_THAT(emulator->state()["calls"], SizeIs(3)) << "these are no faults";
}

TEST_F(World, ForgetsAllButTheStore) {
  start();
  const int id = send("+1", "text");
  emulator->perform({{"do", "fault"}, {"method", "*"}, {"times", 0}, {"status", -1}});
  emulator->perform({{"do", "network"}, {"sends", "hold"}, {"reports", false}});
  emulator->perform({{"do", "phone"}, {"answers", "silent"}});
  emulator->perform({{"do", "clear"}, {"when", {{"call", "read_message"}}}});
  emulator->perform({{"do", "receive"}, {"type", "sms"}, {"from", "+2"}, {"after_ms", 80'000'000}});
  EXPECT_THAT(emulator->state()["held_steps"], SizeIs(2));
  emulator->reset();
  const Json state = emulator->state();
  for (const char* member : {"calls", "faults", "signals", "segments", "held_steps"}) {
    EXPECT_THAT(state[member], IsEmpty()) << member;
  }
  EXPECT_EQ(state["network"], (Json{{"sends", "deliver"}, {"reports", true}, {"retrievals", "succeed"}}));
  EXPECT_EQ(state["phone"], (Json{{"answers", "accept"}}));
  EXPECT_EQ(msg_consumer_read_thread_message(1), 0);
  EXPECT_EQ(message(id)["text"], "text");
}

TEST_F(World, PerformsStepsAfterCalls) {
  const auto after = [](const char* text, Json when) {
    return Json{{"do", "receive"}, {"type", "sms"}, {"from", "+9"}, {"text", text}, {"when", std::move(when)}};
  };
  start({after("each", {{"call", "send_message"}}), after("second", {{"call", "send_message"}, {"nth", 2}}),
         after("never", {{"call", "read_thread"}})});
  EXPECT_THAT(messages(), IsEmpty());
  send("+1", "one");
  EXPECT_TRUE(wait_until([] { return messages("each").size() == 1; }));
  EXPECT_THAT(emulator->state()["held_steps"], SizeIs(3)) << "the second is not due yet";
  send("+1", "two");
  EXPECT_TRUE(wait_until([] { return messages("each").size() == 2 && messages("second").size() == 1; }));
  send("+1", "three");
  EXPECT_TRUE(wait_until([] { return messages("each").size() == 3; }));
  EXPECT_THAT(messages("second"), SizeIs(1));
  EXPECT_THAT(messages("never"), IsEmpty());
  EXPECT_THAT(emulator->state()["held_steps"], SizeIs(2));
}

TEST_F(World, PerformsStepsAfterAWhile) {
  start({{{"do", "receive"}, {"type", "sms"}, {"from", "+9"}, {"text", "late"}, {"after_ms", 300}}});
  EXPECT_TRUE(wait_until([] { return messages("late").size() == 1; }));
  EXPECT_THAT(emulator->state()["held_steps"], IsEmpty());
}

TEST_F(World, SaysWhenAStepThatNobodyWaitsForFails) {
  start({{{"do", "report"}, {"message", 4711}, {"result", "failed"}, {"when", {{"call", "send_message"}}}}});
  send("+1", "text");
  EXPECT_TRUE(wait_until([&] {
    return process->standard_error().find("cannot be performed: message: there is no such message") !=
           std::string::npos;
  }));
}

}  // namespace
}  // namespace msg_consumer::test
