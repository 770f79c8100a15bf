// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

int id_out = 0;

/// One function of the C API with good arguments, the request it makes, and the words in which it fails.
struct CommandRow {
  const char* name;
  std::function<int()> run;
  const char* function;
  const char* method;
  const char* params;
  const char* operation;  ///< as the failure line names it
  bool has_id = false;
};

void PrintTo(const CommandRow& row, std::ostream* out) { *out << row.name; }

class Command : public ClientTest, public testing::WithParamInterface<CommandRow> {};

TEST_P(Command, MakesItsRequestAndMapsEveryResult) {
  for (const auto& [result, status] : STATUSES) {
    SCOPED_TRACE(result);
    connect();
    id_out = -7;
    if (GetParam().has_id) {
      fake::gio().reply_id_and_status(41, result);
    } else {
      fake::gio().reply_status(result);
    }
    EXPECT_EQ(GetParam().run(), status);
    ASSERT_THAT(fake::gio().calls, SizeIs(1));
    EXPECT_EQ(fake::gio().calls[0].method, GetParam().method);
    EXPECT_EQ(fake::gio().calls[0].params, GetParam().params);
    EXPECT_EQ(id_out, GetParam().has_id ? 41 : -7);
    if (result == 0) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      EXPECT_THAT(errors(), SizeIs(1));
      expect_line(6, std::string(GetParam().operation) + "() failed: (" + std::to_string(result) + ")",
                  "msg-consumer-client.cpp", GetParam().function);
    }
    msg_consumer_disconnect();
    fake::gio().reset();
  }
}

TEST_P(Command, FailsWithoutAConnection) {
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -4);
  EXPECT_EQ(id_out, -7);
  expect_line(6, std::string(GetParam().operation) + "() failed: (-4)", "msg-consumer-client.cpp", GetParam().function);
}

TEST_P(Command, FailsWhenItsRequestObjectCannotBeAllocated) {
  connect();
  fake::allocator().nothrow_new_fails = true;
  EXPECT_EQ(GetParam().run(), -2);
  fake::allocator().nothrow_new_fails = false;
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, "[ERROR] Failed to allocate memory!", "msg-consumer-client.cpp", GetParam().function);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_P(Command, MakesOneRequestObject) {
  connect();
  fake::allocator().reset();
  GetParam().run();
  EXPECT_EQ(fake::allocator().nothrow_news, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Message, Command,
    testing::Values(
        CommandRow{"ReadMessage", [] { return msg_consumer_read_message(5); }, "msg_consumer_read_message",
                   "read_message", "(5, 0)", "IMessageSync::readMessage"},
        CommandRow{"ReadMessageZero", [] { return msg_consumer_read_message(0); }, "msg_consumer_read_message",
                   "read_message", "(0, 0)", "IMessageSync::readMessage"},
        CommandRow{"DeleteMessage", [] { return msg_consumer_delete_message(-6); }, "msg_consumer_delete_message",
                   "delete_message", "(-6, 0)", "IMessageSync::deleteMessage"},
        CommandRow{"ResendMessage", [] { return msg_consumer_resend_message(7); }, "msg_consumer_resend_message",
                   "resend_message", "(7,)", "IMessageSync::resendMessage"},
        CommandRow{"RestoreBlockMessage", [] { return msg_consumer_restore_block_message(8); },
                   "msg_consumer_restore_block_message", "restore_block_message", "(8,)",
                   "IMessageSync::restoreBlockMessage"},
        CommandRow{"StoreMessage", [] { return msg_consumer_store_message(9); }, "msg_consumer_store_message",
                   "export_to_phone", "(9,)", "IMessageSync::exportToPhoneMessage"},
        CommandRow{"UpdateRetrieveMms", [] { return msg_consumer_update_retrieve_mms_message(10); },
                   "msg_consumer_update_retrieve_mms_message", "update_retrieve_mms_message", "(10,)",
                   "IMessageSync::updateRetrieveMMSMessage"},
        CommandRow{"SendMessage", [] { return msg_consumer_send_message(3, "+491;+492", "hi", 1, &id_out); },
                   "msg_consumer_send_message", "send_message", "('sms', 3, '+491;+492', 'hi', '', 1)",
                   "IMessageSync::sendMessage", true},
        CommandRow{"SendEmptyMessage", [] { return msg_consumer_send_message(-1, "", "", -1, &id_out); },
                   "msg_consumer_send_message", "send_message", "('sms', -1, '', '', '', -1)",
                   "IMessageSync::sendMessage", true}),
    [](const auto& row) { return row.param.name; });

/// A call with a bad argument and the line that refuses it.
struct RefusalRow {
  const char* name;
  std::function<int()> run;
  const char* function;
  const char* error;
};

void PrintTo(const RefusalRow& row, std::ostream* out) { *out << row.name; }

class Refusal : public ClientTest, public testing::WithParamInterface<RefusalRow> {};

TEST_P(Refusal, ComesBeforeAnythingIsAllocatedReadOrSent) {
  connect();
  fake::allocator().reset();
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -11);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, GetParam().error, "msg-consumer-client.cpp", GetParam().function);
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_EQ(fake::allocator().malloc0s, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_THAT(fake::store().calls, IsEmpty());
  EXPECT_THAT(fake::platform().calls, IsEmpty());
  EXPECT_EQ(id_out, -7);
}

INSTANTIATE_TEST_SUITE_P(
    SendMessage, Refusal,
    testing::Values(RefusalRow{"EverythingMissing",
                               [] { return msg_consumer_send_message(0, nullptr, nullptr, 0, nullptr); },
                               "msg_consumer_send_message", "[ERROR] Invalid parameter: recipient is nullptr!"},
                    RefusalRow{"TextAndIdMissing",
                               [] { return msg_consumer_send_message(0, "+491", nullptr, 0, nullptr); },
                               "msg_consumer_send_message", "[ERROR] Invalid parameter: message is nullptr!"},
                    RefusalRow{"IdMissing", [] { return msg_consumer_send_message(0, "+491", "hi", 0, nullptr); },
                               "msg_consumer_send_message", "[ERROR] Invalid parameter: msgId is nullptr!"}),
    [](const auto& row) { return row.param.name; });

using Commands = ClientTest;

TEST_F(Commands, RefuseTextThatIsNotUtf8AsSomethingThatCannotBeSent) {
  connect();
  int id = -7;
  EXPECT_EQ(msg_consumer_send_message(0, "+491", "\xff", 0, &id), -2);
  EXPECT_EQ(id, -7);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] g_variant_new() failed!", "IMessageSync::sendMessage() failed: (-2)"));
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(Commands, AnswerNonsenseFromTheServiceAsAFailedCall) {
  connect();
  fake::gio().reply = [](const fake::Call&, std::string&) { return g_variant_new("(s)", "nonsense"); };
  EXPECT_EQ(msg_consumer_read_message(1), -4);
}

}  // namespace
