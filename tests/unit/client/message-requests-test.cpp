// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"
#include "request-test.hpp"

#include <msg-consumer/ipc/CMessageSync.h>

using namespace msg_consumer;

namespace {

int id_out = 0;

IMessageSync& requests() {
  static CMessageSync instance;
  return instance;
}

const char* const ADD_OR_SEND_TRACE = "threadId:(7), msgType:(mms), simIndex:(2)";

INSTANTIATE_TEST_SUITE_P(
    Message, Request,
    testing::Values(RequestRow{"ReadMessage",
                               [] { return requests().readMessage(5, false); },
                               "CMessageSync.cpp",
                               "readMessage",
                               "read_message",
                               "(5, 0)",
                               {"msgId:(5)"}},
                    RequestRow{"ReadNmsMessage",
                               [] { return requests().readMessage(5, true); },
                               "CMessageSync.cpp",
                               "readMessage",
                               "read_message",
                               "(5, 1)",
                               {"msgId:(5)"}},
                    RequestRow{"ReadMessageOfANegativeId",
                               [] { return requests().readMessage(-5, false); },
                               "CMessageSync.cpp",
                               "readMessage",
                               "read_message",
                               "(-5, 0)",
                               {"msgId:(-5)"}},
                    RequestRow{"DeleteMessage",
                               [] { return requests().deleteMessage(0, false); },
                               "CMessageSync.cpp",
                               "deleteMessage",
                               "delete_message",
                               "(0, 0)",
                               {"msgId:(0)"}},
                    RequestRow{"DeleteNmsMessage",
                               [] { return requests().deleteMessage(6, true); },
                               "CMessageSync.cpp",
                               "deleteMessage",
                               "delete_message",
                               "(6, 1)",
                               {"msgId:(6)"}},
                    RequestRow{"AddMessage",
                               [] { return requests().addMessage("mms", 7, "+491", "hi", "/f", 2, &id_out); },
                               "CMessageSync.cpp",
                               "addMessage",
                               "add_message",
                               "('mms', 7, '+491', 'hi', '/f', 2)",
                               {ADD_OR_SEND_TRACE},
                               &id_out},
                    RequestRow{"SendMessage",
                               [] { return requests().sendMessage("mms", 7, "+491", "hi", "/f", 2, &id_out); },
                               "CMessageSync.cpp",
                               "sendMessage",
                               "send_message",
                               "('mms', 7, '+491', 'hi', '/f', 2)",
                               {ADD_OR_SEND_TRACE},
                               &id_out},
                    RequestRow{"SendMessageWithoutAttachment",
                               [] { return requests().sendMessage("sms", 0, "+491", "", "", -1, &id_out); },
                               "CMessageSync.cpp",
                               "sendMessage",
                               "send_message",
                               "('sms', 0, '+491', '', '', -1)",
                               {"threadId:(0), msgType:(sms), simIndex:(-1)"},
                               &id_out},
                    RequestRow{"ResendMessage",
                               [] { return requests().resendMessage(8); },
                               "CMessageSync.cpp",
                               "resendMessage",
                               "resend_message",
                               "(8,)",
                               {"msgId:(8)"}},
                    RequestRow{"RestoreBlockMessage",
                               [] { return requests().restoreBlockMessage(9); },
                               "CMessageSync.cpp",
                               "restoreBlockMessage",
                               "restore_block_message",
                               "(9,)",
                               {"msgId:(9)"}},
                    RequestRow{"ExportToPhone",
                               [] { return requests().exportToPhoneMessage(10); },
                               "CMessageSync.cpp",
                               "exportToPhoneMessage",
                               "export_to_phone",
                               "(10,)",
                               {"msgId:(10)"}},
                    RequestRow{"UpdateRetrieveMms",
                               [] { return requests().updateRetrieveMMSMessage(11); },
                               "CMessageSync.cpp",
                               "updateRetrieveMMSMessage",
                               "update_retrieve_mms_message",
                               "(11,)",
                               {"msgId:(11)"}}),
    [](const auto& row) { return row.param.name; });

using MessageRequests = ClientTest;

TEST_F(MessageRequests, RefuseTextThatIsNotUtf8AndSendNothing) {
  connect();
  int id = -7;
  EXPECT_EQ(requests().sendMessage("sms", 0, "+491", "a\xff", "", 0, &id), -2);
  EXPECT_EQ(requests().sendMessage("sms", 0, "\xc3", "a", "", 0, &id), -2);
  EXPECT_EQ(requests().addMessage("\x80", 0, "+491", "a", "", 0, &id), -2);
  EXPECT_EQ(requests().addMessage("mms", 0, "+491", "a", "\xed\xa0\x80", 0, &id), -2);
  EXPECT_EQ(id, -7);
  EXPECT_THAT(errors(), testing::Each("[ERROR] g_variant_new() failed!"));
  EXPECT_THAT(errors(), testing::SizeIs(4));
  EXPECT_THAT(fake::gio().calls, testing::IsEmpty());
}

TEST_F(MessageRequests, RefuseTextWithANulInItRatherThanCutIt) {
  connect();
  int id = -7;
  EXPECT_EQ(requests().sendMessage("sms", 0, "+491", std::string("a\0b", 3), "", 0, &id), -2);
  EXPECT_THAT(fake::gio().calls, testing::IsEmpty());
}

TEST_F(MessageRequests, RefuseAFormatOfTheCatalogueThatIsNotThatOfTheValues) {
  connect();
  for (const char* format : {"(i)", "(iii)", "(si)", "(iu)", "ii", "()", "(ii"}) {
    SCOPED_TRACE(format);
    LogCapture::instance().clear();
    fake::store().format_override = format;
    EXPECT_EQ(requests().readMessage(5, false), -2);
    EXPECT_THAT(errors(), testing::ElementsAre("[ERROR] g_variant_new() failed!"));
  }
  EXPECT_THAT(fake::gio().calls, testing::IsEmpty());
}

TEST_F(MessageRequests, CarryTextInAnyScript) {
  connect();
  int id = 0;
  fake::gio().reply_id_and_status(1, 0);
  EXPECT_EQ(requests().sendMessage("sms", 0, "+491", "Grüße, 你好 👋", "", 0, &id), 0);
  EXPECT_EQ(fake::gio().calls.at(0).params, "('sms', 0, '+491', 'Grüße, 你好 👋', '', 0)");
}

}  // namespace
