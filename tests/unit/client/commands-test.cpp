// SPDX-License-Identifier: Apache-2.0
#include "command-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

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

int send_to(const char* recipient, const char* text, const char* filepath, int* id) {
  return msg_consumer_send_mms(3, recipient, text, filepath, 1, id);
}

INSTANTIATE_TEST_SUITE_P(
    Mms, Command,
    testing::Values(CommandRow{"SendMms", [] { return send_to("+491", "hi", "/f", &id_out); }, "msg_consumer_send_mms",
                               "send_message", "('mms', 3, '+491', 'hi', '/f', 1)", "IMessageSync::sendMessage", true},
                    CommandRow{"SendMmsWithoutText", [] { return send_to("+491", nullptr, "/f", &id_out); },
                               "msg_consumer_send_mms", "send_message", "('mms', 3, '+491', '', '/f', 1)",
                               "IMessageSync::sendMessage", true},
                    CommandRow{"SendMmsWithoutFile", [] { return send_to("+491", "hi", nullptr, &id_out); },
                               "msg_consumer_send_mms", "send_message", "('mms', 3, '+491', 'hi', '', 1)",
                               "IMessageSync::sendMessage", true}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Thread, Command,
    testing::Values(CommandRow{"ReadThread", [] { return msg_consumer_read_thread_message(5); },
                               "msg_consumer_read_thread_message", "read_thread", "(5,)", "IThreadSync::readThread"},
                    CommandRow{"DeleteThread", [] { return msg_consumer_delete_thread(-6); },
                               "msg_consumer_delete_thread", "delete_thread", "(-6,)", "IThreadSync::deleteThread"},
                    CommandRow{"DeleteThreads",
                               [] {
                                 const std::array<int, 4> ids = {5, 5, 7, 8};
                                 return msg_consumer_delete_threads(ids.data(), 3);
                               },
                               "msg_consumer_delete_threads", "delete_threads", "(<[5, 5, 7]>,)",
                               "IThreadSync::deleteThreads"},
                    CommandRow{"SetActiveThread", [] { return msg_consumer_set_active_thread_id(0); },
                               "msg_consumer_set_active_thread_id", "set_active_thread_id", "(0,)",
                               "syncManager->setActiveThread"},
                    CommandRow{"UpdateGroupChat", [] { return msg_consumer_update_group_chat_address(9); },
                               "msg_consumer_update_group_chat_address", "update_group_chat_address", "(9,)",
                               "IThreadSync::updateGroupchatThread"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    ContentAndDevice, Command,
    testing::Values(
        CommandRow{"GetContentFile", [] { return msg_consumer_get_content_file(5, "/tmp/a"); },
                   "msg_consumer_get_content_file", "get_content_file", "(5, '/tmp/a')", "syncManager->getContentFile"},
        CommandRow{"SendContentFile", [] { return msg_consumer_send_content_file(6, ""); },
                   "msg_consumer_send_content_file", "send_content_file", "(6, '')", "IContentSync::sendContentFile"},
        CommandRow{"ShowOnDevice", [] { return msg_consumer_send_show_on_device(-7); },
                   "msg_consumer_send_show_on_device", "show_on_device", "(-7,)", "CRequestSync::showOnDevice"},
        CommandRow{"BecomeDefaultSmsApplication", [] { return msg_consumer_send_change_sms_application_request(true); },
                   "msg_consumer_send_change_sms_application_request", "send_change_sms_application_request", "(true,)",
                   "IRequestSync::reqChangeDefaultSmsApplication"},
        CommandRow{"StopBeingDefaultSmsApplication",
                   [] { return msg_consumer_send_change_sms_application_request(false); },
                   "msg_consumer_send_change_sms_application_request", "send_change_sms_application_request",
                   "(false,)", "IRequestSync::reqChangeDefaultSmsApplication"}),
    [](const auto& row) { return row.param.name; });

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

INSTANTIATE_TEST_SUITE_P(
    SendMms, Refusal,
    testing::Values(RefusalRow{"EverythingMissing", [] { return send_to(nullptr, nullptr, nullptr, nullptr); },
                               "msg_consumer_send_mms", "[ERROR] Invalid parameter: recipient is nullptr!"},
                    RefusalRow{"ContentAndIdMissing", [] { return send_to("+491", nullptr, nullptr, nullptr); },
                               "msg_consumer_send_mms", "[ERROR] Invalid parameters: filepath and message is nullptr!"},
                    RefusalRow{"IdMissing", [] { return send_to("+491", nullptr, "/f", nullptr); },
                               "msg_consumer_send_mms", "[ERROR] Invalid parameter: msgId is nullptr!"}),
    [](const auto& row) { return row.param.name; });

int delete_threads(bool with_ids, int count) {
  const std::array<int, 3> ids = {5, 5, 7};
  return msg_consumer_delete_threads(with_ids ? ids.data() : nullptr, count);
}

INSTANTIATE_TEST_SUITE_P(
    Others, Refusal,
    testing::Values(RefusalRow{"GetContentFileWithoutAPath", [] { return msg_consumer_get_content_file(0, nullptr); },
                               "msg_consumer_get_content_file", "[ERROR] Invalid parameter: peerFilepath is nullptr!"},
                    RefusalRow{"SendContentFileWithoutAPath", [] { return msg_consumer_send_content_file(0, nullptr); },
                               "msg_consumer_send_content_file", "[ERROR] Invalid parameter: filepath is nullptr!"},
                    RefusalRow{"DeleteThreadsWithoutIdsOrCount", [] { return delete_threads(false, 0); },
                               "msg_consumer_delete_threads", "[ERROR] Invalid parameter: threadId_array is nullptr!"},
                    RefusalRow{"DeleteNoThreads", [] { return delete_threads(true, 0); }, "msg_consumer_delete_threads",
                               "[ERROR] Invalid parameter: count:(0)"},
                    RefusalRow{"DeleteLessThanNoThreads", [] { return delete_threads(true, -3); },
                               "msg_consumer_delete_threads", "[ERROR] Invalid parameter: count:(-3)"}),
    [](const auto& row) { return row.param.name; });

using Commands = ClientTest;
using Mms = ClientTest;

const char* const MMS_KEY = "consumer_preference_bool_support_sending_mms";

TEST_F(Mms, IsRefusedWhileThePlatformDoesNotSendIt) {
  connect();
  fake::platform().bools[MMS_KEY] = false;
  fake::allocator().reset();
  id_out = -7;
  EXPECT_EQ(send_to("+491", "hi", "/f", &id_out), -250);
  expect_line(6, "[ERROR] Sending mms is not supported", "msg-consumer-client.cpp", "msg_consumer_send_mms");
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_EQ(id_out, -7);
}

TEST_F(Mms, IsRefusedForItsArgumentsFirst) {
  fake::platform().bools[MMS_KEY] = false;
  EXPECT_EQ(send_to(nullptr, "hi", "/f", &id_out), -11);
}

TEST_F(Mms, FailsWhenThePreferenceCannotBeRead) {
  connect();
  fake::platform().preference_result = -17;
  EXPECT_EQ(send_to("+491", "hi", "/f", &id_out), -1);
  expect_line(6, "[ERROR] preference_get_int() for (consumer_preference_bool_support_sending_mms) failed: (-17) ",
              "msg-consumer-client.cpp", "msg_consumer_send_mms");
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(Mms, AsksThePlatformEveryTime) {
  connect();
  fake::gio().reply_id_and_status(1, 0);
  EXPECT_EQ(send_to("+491", "hi", "/f", &id_out), 0);
  fake::platform().bools[MMS_KEY] = false;
  EXPECT_EQ(send_to("+491", "hi", "/f", &id_out), -250);
  fake::platform().bools[MMS_KEY] = true;
  EXPECT_EQ(send_to("+491", "hi", "/f", &id_out), 0);
  EXPECT_THAT(fake::platform().calls, SizeIs(3));
}

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

TEST_F(Commands, LogTheLineOfTheFunctionThatWasCalled) {
  const auto line_of = [](int (*run)()) {
    LogCapture::instance().clear();
    run();
    const auto lines = LogCapture::instance().lines();
    return lines.empty() ? 0 : lines.back().line;
  };
  // Each fails in the shared frame, so a line of the frame's own would be the same.
  const int read = line_of([] { return msg_consumer_read_message(1); });
  const int remove = line_of([] { return msg_consumer_delete_message(1); });
  const int resend = line_of([] { return msg_consumer_resend_message(1); });
  EXPECT_GT(read, 0);
  EXPECT_LT(read, remove);
  EXPECT_LT(remove, resend);
}

}  // namespace
