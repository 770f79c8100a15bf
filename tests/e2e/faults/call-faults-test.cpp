// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <fstream>

#include "emulator-on-bus.hpp"
#include "support/log-capture.hpp"

namespace msg_consumer::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// What becomes of a message that is sent while a step is in force.
struct Row {
  const char* name;
  Json step;
  int status;          ///< of the C API
  const char* logged;  ///< part of a line of the library; null when nothing is wrong
  bool is_stored;      ///< whether the service has the message all the same
  bool kills_service = false;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.step; }

Json fault(const Json& effect) {
  Json step = {{"do", "fault"}, {"method", "send_message"}};
  step.update(effect);
  return step;
}

class CallFaults : public EmulatorOnBus, public testing::WithParamInterface<Row> {};

TEST_P(CallFaults, AreToldByStatusAndLog) {
  const Row& row = GetParam();
  start();
  emulator->perform(row.step);
  LogCapture::instance().clear();
  int id = 0;
  EXPECT_EQ(msg_consumer_send_message(0, "+15550100", "secret text", 0, &id), row.status);
  if (row.logged != nullptr) {
    EXPECT_THAT(LogCapture::instance().messages(), Contains(HasSubstr(row.logged)));
  }
  EXPECT_FALSE(LogCapture::instance().contains("secret"));
  EXPECT_FALSE(LogCapture::instance().contains("5550100"));
  if (row.kills_service) {
    EXPECT_EQ(process->wait(), -SIGKILL);
    // It can no longer say so itself.
    preference_set_int("consumer_preference_int_consumer_status", 0);
    start();
  } else if (row.is_stored) {
    EXPECT_TRUE(wait_until([] { return messages("secret").size() == 1; }));
  }
  emulator->perform({{"do", "clear"}});
  EXPECT_THAT(messages("secret"), SizeIs(row.is_stored ? 1 : 0));
  EXPECT_EQ(msg_consumer_send_message(0, "+15550100", "next", 0, &id), 0) << "the fault is over";
  EXPECT_EQ(message(id)["text"], "next");
}

INSTANTIATE_TEST_SUITE_P(
    EachFault, CallFaults,
    testing::Values(Row{"Status", fault({{"status", -1}}), -1, "failed: (-1)", false},
                    Row{"StatusOfTheServicesOwn", fault({{"status", -77}}), -1, "failed: (-77)", false},
                    Row{"StatusNoRecord", fault({{"status", -1101}}), -9, "failed: (-1101)", false},
                    Row{"StatusSuccess", fault({{"status", 0}}), 0, nullptr, false},
                    Row{"Error", fault({{"error", {{"name", "org.example.Broken"}, {"message", "it broke"}}}}), -4,
                        "method:(send_message), error:(GDBus.Error:org.example.Broken: it broke)", false},
                    Row{"ReplyOfAnotherType", fault({{"reply", "wrong-type"}}), -4,
                        "method:(send_message), error:(the reply is of type (s) instead of (ii))", false},
                    Row{"EmptyReply", fault({{"reply", "empty"}}), -4,
                        "method:(send_message), error:(the reply is of type () instead of (ii))", false},
                    Row{"ShortDelay", fault({{"delay_ms", 200}}), 0, nullptr, true},
                    Row{"DelayBeyondTheTimeout", fault({{"delay_ms", 5500}}), -4,
                        "method:(send_message), error:(Timeout was reached)", true},
                    Row{"NoReply", fault({{"never", true}}), -4, "method:(send_message), error:(Timeout was reached)",
                        false},
                    Row{"DeathBeforeTheCommit", fault({{"die", "before-commit"}}), -4,
                        "Message recipient disconnected from message bus without replying", false, true},
                    Row{"DeathAfterTheCommit", fault({{"die", "after-commit"}}), -4,
                        "Message recipient disconnected from message bus without replying", true, true},
                    Row{"LockedStore", {{"do", "lock"}, {"ms", 60'000}}, -1, "failed: (-8)", false},
                    Row{"FullDisk", {{"do", "disk-full"}}, -1, "failed: (-7)", false}),
    [](const auto& row) { return row.param.name; });

using OtherFaults = EmulatorOnBus;

TEST_F(OtherFaults, OfAnyMethodHappenAsOftenAsTheyAreArmed) {
  start({{{"do", "fault"}, {"method", "*"}, {"times", 2}, {"status", -1}}});
  int id = 0;
  EXPECT_EQ(msg_consumer_read_message(1), -1);
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), -1);
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), 0);
}

TEST_F(OtherFaults, WithoutEndHappenUntilTheyAreCleared) {
  start({{{"do", "fault"}, {"method", "send_message"}, {"times", 0}, {"status", -1}}});
  int id = 0;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), -1);
  }
  emulator->perform({{"do", "clear"}});
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), 0);
}

TEST_F(OtherFaults, AreUsedInTheOrderInWhichTheyWereArmed) {
  start({{{"do", "fault"}, {"method", "read_message"}, {"status", -5}},
         {{"do", "fault"}, {"method", "*"}, {"status", -1101}}});
  EXPECT_EQ(msg_consumer_read_message(1), -1);
  EXPECT_EQ(msg_consumer_read_message(1), -9);
}

TEST_F(OtherFaults, OfTheDiskConcernAttachmentsAsWell) {
  start();
  const std::string path = folder.file("note.txt");
  write_file(path, "text");
  emulator->perform({{"do", "disk-full"}, {"times", 1}});
  int id = 0;
  LogCapture::instance().clear();
  EXPECT_EQ(msg_consumer_send_mms(0, "+1", "", path.c_str(), 0, &id), -1);
  EXPECT_THAT(LogCapture::instance().messages(), Contains(HasSubstr("failed: (-24)")));
  EXPECT_EQ(msg_consumer_send_mms(0, "+1", "", path.c_str(), 0, &id), 0);
  EXPECT_EQ(message(id)["parts"][0]["file"], "text");
}

TEST_F(OtherFaults, OfTheDiskEndAfterSoManyCommits) {
  start({{{"do", "network"}, {"sends", "hold"}}, {{"do", "disk-full"}, {"times", 2}}});
  int id = 0;
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), -1);
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), -1);
  EXPECT_EQ(msg_consumer_send_message(0, "+1", "text", 0, &id), 0);
}

TEST_F(OtherFaults, OfTheLockEndByThemselves) {
  start();
  // The service waits for a second.
  emulator->perform({{"do", "lock"}, {"ms", 300}});
  EXPECT_GT(send("+1", "text"), 0);
}

TEST_F(OtherFaults, DoNotSilenceReaders) {
  start({{{"do", "receive"}, {"type", "sms"}, {"from", "+1"}, {"text", "there"}}, {{"do", "disk-full"}}});
  emulator->perform({{"do", "lock"}, {"ms", 60'000}});
  EXPECT_EQ(message(1)["text"], "there");
  EXPECT_THAT(messages("nothing"), IsEmpty());
}

}  // namespace
}  // namespace msg_consumer::test
