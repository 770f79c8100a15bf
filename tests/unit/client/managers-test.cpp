// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "client-test.hpp"

#include <msg-consumer/ContentManager.h>
#include <msg-consumer/MessageManager.h>
#include <msg-consumer/MsgOperationManager.h>
#include <msg-consumer/NmsManager.h>
#include <msg-consumer/ThreadManager.h>

using namespace msg_consumer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

int id_out = 0;

constexpr std::array<int, 9> RESULTS = {0, -1, -2, -3, -4, -5, 5, -200, -1101};

// ---- Methods that read ----

/// One reading method with good arguments. `run` says how many records its output holds.
struct ReadRow {
  const char* name;
  std::function<int(std::size_t& count)> run;
  const char* file;
  const char* function;
  const char* query;  ///< as the failure line names it
  const char* call;   ///< with its arguments
  const char* empty;  ///< the line for an empty result
};

void PrintTo(const ReadRow& row, std::ostream* out) { *out << row.name; }

class ManagerRead : public ClientTest, public testing::WithParamInterface<ReadRow> {
 protected:
  ManagerRead() {
    fake::store().messages.resize(1);
    fake::store().messages[0].id = 1;
    fake::store().threads.resize(1);
    fake::store().threads[0].id = 1;
    fake::store().conversations.resize(1);
    fake::store().conversations[0].id = 1;
    fake::store().addresses.resize(1);
    fake::store().contents.resize(1);
    fake::store().contents[0].status = Content::STATUS_FAILED;
    fake::store().found_thread_id = 12;
  }
};

TEST_P(ManagerRead, AsksTheStoreAndReturnsItsResultUnchanged) {
  for (const int result : RESULTS) {
    SCOPED_TRACE(result);
    LogCapture::instance().clear();
    fake::store().calls.clear();
    fake::store().result = result;
    std::size_t count = 0;
    EXPECT_EQ(GetParam().run(count), result);
    EXPECT_THAT(fake::store().calls, ElementsAre(GetParam().call));
    if (result == 0) {
      EXPECT_EQ(count, 1U);
      EXPECT_THAT(LogCapture::instance().lines(), IsEmpty());
    } else if (result == -1101) {
      EXPECT_THAT(LogCapture::instance().lines(), SizeIs(1));
      expect_line(4, GetParam().empty, GetParam().file, GetParam().function);
    } else {
      EXPECT_THAT(LogCapture::instance().lines(), SizeIs(1));
      expect_line(6, "[ERROR] " + std::string(GetParam().query) + "() failed: (" + std::to_string(result) + ")",
                  GetParam().file, GetParam().function);
    }
  }
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

ReadRow message_read(const char* name, std::function<int(std::size_t&)> run, const char* function, const char* query,
                     const char* call, const char* empty) {
  return {name, std::move(run), "MessageManager.cpp", function, query, call, empty};
}

INSTANTIATE_TEST_SUITE_P(
    Message, ManagerRead,
    testing::Values(message_read(
                        "GetMessage",
                        [](std::size_t& count) {
                          Message message;
                          const int result = MessageManager().getMessage(7, message);
                          count = message.id == 1 ? 1 : 0;
                          return result;
                        },
                        "getMessage", "db_get_message", "db_get_message(7)", "No record for msgId:(7)"),
                    message_read(
                        "GetMessages",
                        [](std::size_t& count) {
                          ListCondition condition;
                          condition.num_a = -5;
                          condition.keyword = "x";
                          std::vector<Message> list;
                          const int result = MessageManager().getMessages(condition, list);
                          EXPECT_EQ(fake::store().condition.num_a, -5) << "any condition is handed on";
                          EXPECT_EQ(fake::store().condition.keyword, "x");
                          count = list.size();
                          return result;
                        },
                        "getMessages", "db_get_message_list", "db_get_message_list", "No records"),
                    message_read(
                        "GetConversation",
                        [](std::size_t& count) {
                          Conversation conversation;
                          const int result = MessageManager().getConversation(7, conversation);
                          count = conversation.id == 1 ? 1 : 0;
                          return result;
                        },
                        "getConversation", "db_get_conversation", "db_get_conversation(7)", "No record for msgId:(7)"),
                    message_read(
                        "GetConversations",
                        [](std::size_t& count) {
                          std::vector<Conversation> list;
                          const int result = MessageManager().getConversations(7, list);
                          count = list.size();
                          return result;
                        },
                        "getConversations", "db_get_conversations", "db_get_conversations(7)", "No records"),
                    message_read(
                        "GetFTSendingStatus",
                        [](std::size_t& count) {
                          Content::Status status = Content::STATUS_NONE;
                          const int result = MessageManager().getFTSendingStatus(7, status);
                          EXPECT_EQ(status, result == 0 ? Content::STATUS_FAILED : Content::STATUS_NONE);
                          count = status == Content::STATUS_FAILED ? 1 : 0;
                          return result;
                        },
                        "getFTSendingStatus", "db_get_sending_msg_content_info", "db_get_sending_msg_content_info(7)",
                        "No records")),
    [](const auto& row) { return row.param.name; });

ReadRow thread_read(const char* name, std::function<int(std::size_t&)> run, const char* function, const char* query,
                    const char* call, const char* empty) {
  return {name, std::move(run), "ThreadManager.cpp", function, query, call, empty};
}

INSTANTIATE_TEST_SUITE_P(Thread, ManagerRead,
                         testing::Values(thread_read(
                                             "GetThread",
                                             [](std::size_t& count) {
                                               Thread thread;
                                               const int result = ThreadManager().getThread(7, thread);
                                               count = thread.id == 1 ? 1 : 0;
                                               return result;
                                             },
                                             "getThread", "db_get_thread", "db_get_thread(7)",
                                             "No record for threadId:(7)"),
                                         thread_read(
                                             "GetAllThreads",
                                             [](std::size_t& count) {
                                               std::vector<Thread> list;
                                               const int result = ThreadManager().getAllThreads(list);
                                               count = list.size();
                                               return result;
                                             },
                                             "getAllThreads", "db_get_threads", "db_get_threads", "No records!"),
                                         thread_read(
                                             "GetAddress",
                                             [](std::size_t& count) {
                                               std::vector<Address> list;
                                               const int result = ThreadManager().getAddress(7, list);
                                               count = list.size();
                                               return result;
                                             },
                                             "getAddress", "db_get_addresses", "db_get_addresses(7)", "No records!"),
                                         thread_read(
                                             "GetThreadIdByAddress",
                                             [](std::size_t& count) {
                                               int thread_id = -7;
                                               const int result =
                                                   ThreadManager().getThreadIdByAddress("+49 170", thread_id);
                                               EXPECT_EQ(thread_id, 12) << "what the store wrote stays";
                                               EXPECT_THAT(fake::store().looked_up, SizeIs(1));
                                               const Address& address = fake::store().looked_up.at(0);
                                               EXPECT_EQ(address.address, "+49 170");
                                               EXPECT_EQ(address.num_a, 0);
                                               EXPECT_EQ(address.num_b, 1);
                                               EXPECT_EQ(address.num_c, 0);
                                               EXPECT_EQ(address.flag_e, 0);
                                               count = 1;
                                               return result;
                                             },
                                             "getThreadIdByAddress", "db_check_thread_address_exist",
                                             "db_check_thread_address_exist", "No records!")),
                         [](const auto& row) { return row.param.name; });

// ---- Methods that write ----

/// One writing method with good arguments.
struct WriteRow {
  const char* name;
  std::function<int()> run;
  const char* file;
  const char* function;
  const char* method;
  const char* params;
  const char* operation;  ///< as the failure line names it
  bool has_id = false;
};

void PrintTo(const WriteRow& row, std::ostream* out) { *out << row.name; }

class ManagerWrite : public ClientTest, public testing::WithParamInterface<WriteRow> {};

TEST_P(ManagerWrite, MakesItsRequestAndReturnsEveryResultUnchanged) {
  for (const int result : RESULTS) {
    SCOPED_TRACE(result);
    connect();
    id_out = -7;
    if (GetParam().has_id) {
      fake::gio().reply_id_and_status(41, result);
    } else {
      fake::gio().reply_status(result);
    }
    EXPECT_EQ(GetParam().run(), result);
    ASSERT_THAT(fake::gio().calls, SizeIs(1));
    EXPECT_EQ(fake::gio().calls[0].method, GetParam().method);
    EXPECT_EQ(fake::gio().calls[0].params, GetParam().params);
    EXPECT_EQ(id_out, GetParam().has_id ? 41 : -7);
    if (result == 0) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      EXPECT_THAT(errors(), SizeIs(1));
      expect_line(6, std::string(GetParam().operation) + "() failed: (" + std::to_string(result) + ")", GetParam().file,
                  GetParam().function);
    }
    IPCProxy::getInstance()->disconnect();
    fake::gio().reset();
  }
  EXPECT_THAT(fake::store().calls, IsEmpty());
}

TEST_P(ManagerWrite, FailsWhenItsRequestObjectCannotBeAllocated) {
  connect();
  id_out = -7;
  fake::allocator().nothrow_new_fails = true;
  EXPECT_EQ(GetParam().run(), -2);
  fake::allocator().nothrow_new_fails = false;
  EXPECT_EQ(id_out, -7);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, "[ERROR] Failed to allocate memory!", GetParam().file, GetParam().function);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_P(ManagerWrite, FailsWithoutAConnection) {
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -4);
  EXPECT_EQ(id_out, -7);
  expect_line(6, std::string(GetParam().operation) + "() failed: (-4)", GetParam().file, GetParam().function);
}

const char* const MESSAGE_FILE = "MessageManager.cpp";
const char* const THREAD_FILE = "ThreadManager.cpp";

INSTANTIATE_TEST_SUITE_P(
    Message, ManagerWrite,
    testing::Values(
        WriteRow{"ReadMessage", [] { return MessageManager().readMessage(1); }, MESSAGE_FILE, "readMessage",
                 "read_message", "(1, 0)", "CMessageSync::readMessage"},
        WriteRow{"DeleteMessage", [] { return MessageManager().deleteMessage(2); }, MESSAGE_FILE, "deleteMessage",
                 "delete_message", "(2, 0)", "CMessageSync::deleteMessage"},
        WriteRow{"AddSms", [] { return MessageManager().addMessage("sms", 3, "+491", "hi", "/f", 1, id_out); },
                 MESSAGE_FILE, "addMessage", "add_message", "('sms', 3, '+491', 'hi', '/f', 1)",
                 "CMessageSync::addMessage", true},
        WriteRow{"AddMms", [] { return MessageManager().addMessage("mms", -3, "+491", "", "", -1, id_out); },
                 MESSAGE_FILE, "addMessage", "add_message", "('mms', -3, '+491', '', '', -1)",
                 "CMessageSync::addMessage", true},
        WriteRow{"SendSms", [] { return MessageManager().sendSMS(3, "+491", "hi", 1, id_out); }, MESSAGE_FILE,
                 "sendSMS", "send_message", "('sms', 3, '+491', 'hi', '', 1)", "CMessageSync::sendMessage", true},
        WriteRow{"SendEmptySms", [] { return MessageManager().sendSMS(3, "+491", "", 1, id_out); }, MESSAGE_FILE,
                 "sendSMS", "send_message", "('sms', 3, '+491', '', '', 1)", "CMessageSync::sendMessage", true},
        WriteRow{"SendMms", [] { return MessageManager().sendMMS(3, "+491", "hi", "/f", 1, id_out); }, MESSAGE_FILE,
                 "sendMMS", "send_message", "('mms', 3, '+491', 'hi', '/f', 1)", "CMessageSync::sendMessage", true},
        WriteRow{"SendEmptyMms", [] { return MessageManager().sendMMS(3, "+491", "", "", 1, id_out); }, MESSAGE_FILE,
                 "sendMMS", "send_message", "('mms', 3, '+491', '', '', 1)", "CMessageSync::sendMessage", true},
        WriteRow{"Resend", [] { return MessageManager().resendMessage(4); }, MESSAGE_FILE, "resendMessage",
                 "resend_message", "(4,)", "CMessageSync::resendMessage"},
        WriteRow{"UpdateMMSRetrieveStatus", [] { return MessageManager().updateMMSRetrieveStatus(5); }, MESSAGE_FILE,
                 "updateMMSRetrieveStatus", "update_retrieve_mms_message", "(5,)",
                 "CMessageSync::updateRetrieveMMSMessage"},
        WriteRow{"RestoreBlockedMessage", [] { return MessageManager().restoreBlockedMessage(6); }, MESSAGE_FILE,
                 "restoreBlockedMessage", "restore_block_message", "(6,)", "CMessageSync::restoreBlockMessage"},
        WriteRow{"ExportMessageToPhone", [] { return MessageManager().exportMessageToPhone(7); }, MESSAGE_FILE,
                 "exportMessageToPhone", "export_to_phone", "(7,)", "CMessageSync::exportToPhoneMessage"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Thread, ManagerWrite,
    testing::Values(
        WriteRow{"ReadThread", [] { return ThreadManager().readThread(1); }, THREAD_FILE, "readThread", "read_thread",
                 "(1,)", "CThreadSync::readThread"},
        WriteRow{"DeleteThread", [] { return ThreadManager().deleteThread(2); }, THREAD_FILE, "deleteThread",
                 "delete_thread", "(2,)", "CThreadSync::deleteThread"},
        WriteRow{"DeleteThreads",
                 [] {
                   return ThreadManager().deleteThreads({0, -4, 7, 7});
                 },
                 THREAD_FILE, "deleteThreads", "delete_threads", "(<[0, -4, 7, 7]>,)", "CThreadSync::deleteThreads"},
        WriteRow{"UpdateGroupchatThread", [] { return ThreadManager().updateGroupchatThread(3); }, THREAD_FILE,
                 "updateGroupchatThread", "update_group_chat_address", "(3,)", "CThreadSync::updateGroupchatThread"},
        WriteRow{"SetActiveThreadId", [] { return ThreadManager().setActiveThreadId(4); }, THREAD_FILE,
                 "setActiveThreadId", "set_active_thread_id", "(4,)", "CThreadSync::setActiveThread"},
        WriteRow{"SetNoActiveThreadId", [] { return ThreadManager().setActiveThreadId(0); }, THREAD_FILE,
                 "setActiveThreadId", "set_active_thread_id", "(0,)", "CThreadSync::setActiveThread"},
        WriteRow{"SetANegativeActiveThreadId", [] { return ThreadManager().setActiveThreadId(-1); }, THREAD_FILE,
                 "setActiveThreadId", "set_active_thread_id", "(-1,)", "CThreadSync::setActiveThread"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Others, ManagerWrite,
    testing::Values(
        WriteRow{"DownloadContentFile", [] { return ContentManager().downloadContentFile(1, "/f"); },
                 "ContentManager.cpp", "downloadContentFile", "get_content_file", "(1, '/f')",
                 "CContentSync::getContentFile"},
        WriteRow{"ShowOnDevice", [] { return MsgOperationManager().showOnDevice(1); }, "MsgOperationManager.cpp",
                 "showOnDevice", "show_on_device", "(1,)", "CRequestSync::showOnDevice"},
        WriteRow{"BecomeDefault", [] { return MsgOperationManager().requestToChangeSmsApplication(true); },
                 "MsgOperationManager.cpp", "requestToChangeSmsApplication", "send_change_sms_application_request",
                 "(true,)", "CRequestSync::reqChangeDefaultSmsApplication"},
        WriteRow{"StopBeingDefault", [] { return MsgOperationManager().requestToChangeSmsApplication(false); },
                 "MsgOperationManager.cpp", "requestToChangeSmsApplication", "send_change_sms_application_request",
                 "(false,)", "CRequestSync::reqChangeDefaultSmsApplication"},
        WriteRow{"NmsSendSms", [] { return NmsManager().sendSMS(3, "+491", "hi", id_out); }, "NmsManager.cpp",
                 "sendSMS", "nms_send_message", "('sms', 3, '+491', 'hi', '')", "INmsSync::sendMessage", true},
        WriteRow{"NmsSendMms", [] { return NmsManager().sendMMS(3, "+491", "hi", "/f", id_out); }, "NmsManager.cpp",
                 "sendMMS", "nms_send_message", "('mms', 3, '+491', 'hi', '/f')", "INmsSync::sendMessage", true},
        WriteRow{"NmsSendMmsWithoutText", [] { return NmsManager().sendMMS(3, "+491", "", "/f", id_out); },
                 "NmsManager.cpp", "sendMMS", "nms_send_message", "('mms', 3, '+491', '', '/f')",
                 "INmsSync::sendMessage", true},
        WriteRow{"NmsSendMmsWithoutFile", [] { return NmsManager().sendMMS(3, "+491", "hi", "", id_out); },
                 "NmsManager.cpp", "sendMMS", "nms_send_message", "('mms', 3, '+491', 'hi', '')",
                 "INmsSync::sendMessage", true}),
    [](const auto& row) { return row.param.name; });

// ---- Refused arguments ----

/// A call with a bad argument and the line that refuses it.
struct ManagerRefusalRow {
  const char* name;
  std::function<int()> run;
  const char* file;
  const char* function;
  const char* error;
};

void PrintTo(const ManagerRefusalRow& row, std::ostream* out) { *out << row.name; }

class ManagerRefusal : public ClientTest, public testing::WithParamInterface<ManagerRefusalRow> {};

TEST_P(ManagerRefusal, ComesBeforeAnythingIsAllocatedReadOrSent) {
  connect();
  fake::allocator().reset();
  fake::platform().bools["consumer_preference_bool_support_sending_mms"] = false;
  id_out = -7;
  EXPECT_EQ(GetParam().run(), -3);
  EXPECT_THAT(LogCapture::instance().lines(), SizeIs(1));
  expect_line(6, GetParam().error, GetParam().file, GetParam().function);
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_THAT(fake::store().calls, IsEmpty());
  EXPECT_THAT(fake::platform().calls, IsEmpty());
  EXPECT_EQ(id_out, -7);
}

/// Every method that takes an id, called with one below 1.
template <typename Method>
ManagerRefusalRow bad_id(const char* file, const char* function, const char* error, Method method) {
  return {function, method, file, function, error};
}

const char* const BAD_MESSAGE_ID = "[ERROR] Invalid parameter: msgId: (0)";
const char* const BAD_THREAD_ID = "[ERROR] Invalid parameter: threadId: (-5)";

INSTANTIATE_TEST_SUITE_P(MessageIds, ManagerRefusal,
                         testing::Values(bad_id(MESSAGE_FILE, "getMessage", BAD_MESSAGE_ID,
                                                [] {
                                                  Message message;
                                                  return MessageManager().getMessage(0, message);
                                                }),
                                         bad_id(MESSAGE_FILE, "getConversation", BAD_MESSAGE_ID,
                                                [] {
                                                  Conversation conversation;
                                                  return MessageManager().getConversation(0, conversation);
                                                }),
                                         bad_id(MESSAGE_FILE, "getConversations", BAD_THREAD_ID,
                                                [] {
                                                  std::vector<Conversation> list;
                                                  return MessageManager().getConversations(-5, list);
                                                }),
                                         bad_id(MESSAGE_FILE, "getFTSendingStatus", BAD_MESSAGE_ID,
                                                [] {
                                                  Content::Status status = Content::STATUS_NONE;
                                                  return MessageManager().getFTSendingStatus(0, status);
                                                }),
                                         bad_id(MESSAGE_FILE, "readMessage", "[ERROR] Invalid parameter: msgId: (-5)",
                                                [] { return MessageManager().readMessage(-5); }),
                                         bad_id(MESSAGE_FILE, "deleteMessage", BAD_MESSAGE_ID,
                                                [] { return MessageManager().deleteMessage(0); }),
                                         bad_id(MESSAGE_FILE, "resendMessage", BAD_MESSAGE_ID,
                                                [] { return MessageManager().resendMessage(0); }),
                                         bad_id(MESSAGE_FILE, "updateMMSRetrieveStatus", BAD_MESSAGE_ID,
                                                [] { return MessageManager().updateMMSRetrieveStatus(0); }),
                                         bad_id(MESSAGE_FILE, "restoreBlockedMessage", BAD_MESSAGE_ID,
                                                [] { return MessageManager().restoreBlockedMessage(0); }),
                                         bad_id(MESSAGE_FILE, "exportMessageToPhone", BAD_MESSAGE_ID,
                                                [] { return MessageManager().exportMessageToPhone(0); }),
                                         bad_id("MsgOperationManager.cpp", "showOnDevice", BAD_MESSAGE_ID,
                                                [] { return MsgOperationManager().showOnDevice(0); })),
                         [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(ThreadIds, ManagerRefusal,
                         testing::Values(bad_id(THREAD_FILE, "getThread", BAD_THREAD_ID,
                                                [] {
                                                  Thread thread;
                                                  return ThreadManager().getThread(-5, thread);
                                                }),
                                         bad_id(THREAD_FILE, "getAddress", BAD_THREAD_ID,
                                                [] {
                                                  std::vector<Address> list;
                                                  return ThreadManager().getAddress(-5, list);
                                                }),
                                         bad_id(THREAD_FILE, "readThread", "[ERROR] Invalid parameter: threadId: (0)",
                                                [] { return ThreadManager().readThread(0); }),
                                         bad_id(THREAD_FILE, "deleteThread", BAD_THREAD_ID,
                                                [] { return ThreadManager().deleteThread(-5); }),
                                         bad_id(THREAD_FILE, "updateGroupchatThread", BAD_THREAD_ID,
                                                [] { return ThreadManager().updateGroupchatThread(-5); })),
                         [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Others, ManagerRefusal,
    testing::Values(
        ManagerRefusalRow{"AddToNobodyOfUnknownType",
                          [] { return MessageManager().addMessage("fax", 0, "", "", "", 0, id_out); }, MESSAGE_FILE,
                          "addMessage", "[ERROR] Invalid parameter: recipient!"},
        ManagerRefusalRow{"AddOfUnknownType",
                          [] { return MessageManager().addMessage("SMS", 0, "+491", "", "", 0, id_out); }, MESSAGE_FILE,
                          "addMessage", "[ERROR] Invalid parameter: msgType[SMS]!"},
        ManagerRefusalRow{"AddWithoutType",
                          [] { return MessageManager().addMessage("", 0, "+491", "", "", 0, id_out); }, MESSAGE_FILE,
                          "addMessage", "[ERROR] Invalid parameter: msgType[]!"},
        ManagerRefusalRow{"SendSmsToNobody", [] { return MessageManager().sendSMS(0, "", "hi", 0, id_out); },
                          MESSAGE_FILE, "sendSMS", "[ERROR] Invalid parameter: recipient!"},
        ManagerRefusalRow{"SendMmsToNobody", [] { return MessageManager().sendMMS(0, "", "hi", "", 0, id_out); },
                          MESSAGE_FILE, "sendMMS", "[ERROR] Invalid parameter: recipient!"},
        ManagerRefusalRow{"ThreadOfNoAddress",
                          [] {
                            int thread_id = 0;
                            return ThreadManager().getThreadIdByAddress("", thread_id);
                          },
                          THREAD_FILE, "getThreadIdByAddress", "[ERROR] Invalid parameter: address"},
        ManagerRefusalRow{"DeleteNoThreads", [] { return ThreadManager().deleteThreads({}); }, THREAD_FILE,
                          "deleteThreads", "[ERROR] Invalid parameter: no thread ids!"},
        ManagerRefusalRow{"DownloadOfNoMessageToNowhere", [] { return ContentManager().downloadContentFile(0, ""); },
                          "ContentManager.cpp", "downloadContentFile", BAD_MESSAGE_ID},
        ManagerRefusalRow{"DownloadToNowhere", [] { return ContentManager().downloadContentFile(1, ""); },
                          "ContentManager.cpp", "downloadContentFile", "[ERROR] Invalid parameter: peerFilepath"},
        ManagerRefusalRow{"NmsSmsToNobody", [] { return NmsManager().sendSMS(0, "", "", id_out); }, "NmsManager.cpp",
                          "sendSMS", "[ERROR] Invalid parameter: recipient is empty!"},
        ManagerRefusalRow{"NmsSmsWithoutText", [] { return NmsManager().sendSMS(0, "+491", "", id_out); },
                          "NmsManager.cpp", "sendSMS", "[ERROR] Invalid parameters: text is empty!"},
        ManagerRefusalRow{"NmsMmsToNobody", [] { return NmsManager().sendMMS(0, "", "", "", id_out); },
                          "NmsManager.cpp", "sendMMS", "[ERROR] Invalid parameter: recipient is empty!"},
        ManagerRefusalRow{"NmsMmsWithoutContent", [] { return NmsManager().sendMMS(0, "+491", "", "", id_out); },
                          "NmsManager.cpp", "sendMMS", "[ERROR] Invalid parameters: text & filepath are empty!"}),
    [](const auto& row) { return row.param.name; });

// ---- The gates of NmsManager ----

using NmsManagerGates = ClientTest;

TEST_F(NmsManagerGates, AreClosedWithoutNumberSyncWhateverTheArguments) {
  connect();
  fake::store().numbersync_supported = false;
  id_out = -7;
  EXPECT_EQ(NmsManager().sendSMS(0, "", "", id_out), -200);
  expect_line(6, "[ERROR] Numbersync is not supported!", "NmsManager.cpp", "sendSMS");
  LogCapture::instance().clear();
  EXPECT_EQ(NmsManager().sendMMS(0, "", "", "", id_out), -200);
  expect_line(6, "[ERROR] Numbersync is not supported!", "NmsManager.cpp", "sendMMS");
  EXPECT_EQ(id_out, -7);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

TEST_F(NmsManagerGates, RefuseMmsThatTheDeviceDoesNotSend) {
  connect();
  fake::platform().bools["consumer_preference_bool_support_sending_mms"] = false;
  fake::allocator().reset();
  EXPECT_EQ(NmsManager().sendMMS(0, "+491", "hi", "", id_out), -150);
  expect_line(6, "[ERROR] Sending mms is not supported!", "NmsManager.cpp", "sendMMS");
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(NmsManagerGates, FailWhenThePreferenceCannotBeRead) {
  connect();
  fake::platform().preference_result = -17;
  EXPECT_EQ(NmsManager().sendMMS(0, "+491", "hi", "", id_out), -1);
  expect_line(6, "[ERROR] preference_get_boolean() for (consumer_preference_bool_support_sending_mms) failed: (-17) ",
              "NmsManager.cpp", "sendMMS");
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(NmsManagerGates, DoNotReadThePreferenceInWpcMode) {
  connect();
  fake::store().wpc_mode = true;
  fake::platform().preference_result = -17;
  fake::gio().reply_id_and_status(7, 0);
  EXPECT_EQ(NmsManager().sendMMS(0, "+491", "hi", "", id_out), 0);
  EXPECT_EQ(id_out, 7);
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

TEST_F(NmsManagerGates, DoNotReadThePreferenceForAnSms) {
  connect();
  fake::platform().bools["consumer_preference_bool_support_sending_mms"] = false;
  fake::gio().reply_id_and_status(7, 0);
  EXPECT_EQ(NmsManager().sendSMS(0, "+491", "hi", id_out), 0);
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

}  // namespace
