// SPDX-License-Identifier: Apache-2.0
#include <cstdint>

#include "command-test.hpp"
#include "query-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const char* const MMS_KEY = "consumer_preference_bool_support_sending_mms";
const char* const SERIALISED = "(<([byte 0x73, 0x65, 0x72, 0x69, 0x61, 0x6c, 0x69, 0x73, 0x65, 0x64],)>, 10)";

const msg_message_item_t* a_message() {
  static const msg_message_item_t message = {};
  return &message;
}

const msg_nms_msg_meta_data_t* a_meta() {
  static const msg_nms_msg_meta_data_t meta = {};
  return &meta;
}

char token[] = "token";

msg_nms_mssi_info_t subscription(char* restart_token) { return {9223372036854775809ULL, restart_token}; }

int send_mms(const char* recipient, const char* message, const char* filepath, int* id) {
  return msg_consumer_nms_send_mms(3, recipient, message, filepath, id);
}

int update_subscription(char* restart_token) {
  const auto info = subscription(restart_token);
  return msg_consumer_nms_update_mssi_info(&info);
}

INSTANTIATE_TEST_SUITE_P(
    NmsMessages, Command,
    testing::Values(
        CommandRow{"NmsAddMessage", [] { return msg_consumer_nms_add_message(a_message()); },
                   "msg_consumer_nms_add_message", "nms_add_message", SERIALISED, "INmsSync::addMessage"},
        CommandRow{"NmsReadMessage", [] { return msg_consumer_nms_read_message(5); }, "msg_consumer_nms_read_message",
                   "read_message", "(5, 1)", "IMessageSync::readMessage"},
        CommandRow{"NmsUpdateNetworkStatus", [] { return msg_consumer_nms_update_message_network_status(0, -6); },
                   "msg_consumer_nms_update_message_network_status", "nms_update_message_network_status", "(0, -6)",
                   "INmsSync::updateNetworkStatus"},
        CommandRow{"NmsDeleteMessage", [] { return msg_consumer_nms_delete_message(7); },
                   "msg_consumer_nms_delete_message", "delete_message", "(7, 1)", "IMessageSync::deleteMessage"},
        CommandRow{"NmsDeleteByTime", [] { return msg_consumer_nms_delete_message_by_time(-8); },
                   "msg_consumer_nms_delete_message_by_time", "nms_delete_message_by_time", "(-8,)",
                   "INmsSync::deleteMessagesByTime"},
        CommandRow{"NmsSendMessage", [] { return msg_consumer_nms_send_message(3, "+491", "hi", &id_out); },
                   "msg_consumer_nms_send_message", "nms_send_message", "('sms', 3, '+491', 'hi', '')",
                   "INmsSync::sendMessage", true},
        CommandRow{"NmsSendMms", [] { return send_mms("+491", "hi", "/f", &id_out); }, "msg_consumer_nms_send_mms",
                   "nms_send_message", "('mms', 3, '+491', 'hi', '/f')", "INmsSync::sendMessage", true},
        CommandRow{"NmsSendMmsWithoutText", [] { return send_mms("+491", nullptr, "/f", &id_out); },
                   "msg_consumer_nms_send_mms", "nms_send_message", "('mms', 3, '+491', '', '/f')",
                   "INmsSync::sendMessage", true},
        CommandRow{"NmsSendMmsWithoutFile", [] { return send_mms("+491", "hi", nullptr, &id_out); },
                   "msg_consumer_nms_send_mms", "nms_send_message", "('mms', 3, '+491', 'hi', '')",
                   "INmsSync::sendMessage", true},
        CommandRow{"NmsResend", [] { return msg_consumer_nms_resend_message(9); }, "msg_consumer_nms_resend_message",
                   "nms_resend_message", "(9,)", "INmsSync::resendMessage"},
        CommandRow{"NmsDownloadMms", [] { return msg_consumer_nms_download_mms(10); }, "msg_consumer_nms_download_mms",
                   "nms_download_mms", "(10,)", "INmsSync::downloadMms"},
        CommandRow{"NmsHandleResetBox", [] { return msg_consumer_nms_handle_resetbox(); },
                   "msg_consumer_nms_handle_resetbox", "nms_handle_resetbox", "null", "INmsSync::handleResetBox"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    NmsMetadata, Command,
    testing::Values(
        CommandRow{"AddMeta", [] { return msg_consumer_nms_add_msg_meta(a_meta()); }, "msg_consumer_nms_add_msg_meta",
                   "nms_add_msg_meta", SERIALISED, "INmsSync::addNmsMsgMeta"},
        CommandRow{"UpdateMeta", [] { return msg_consumer_nms_update_msg_meta(5, "obj", a_meta()); },
                   "msg_consumer_nms_update_msg_meta", "nms_update_msg_meta",
                   "(5, 'obj', <([byte 0x73, 0x65, 0x72, 0x69, 0x61, 0x6c, 0x69, 0x73, 0x65, 0x64],)>, 10)",
                   "INmsSync::updateNmsMsgMeta"},
        CommandRow{"UpdateMetaWithoutObjectId", [] { return msg_consumer_nms_update_msg_meta(5, nullptr, a_meta()); },
                   "msg_consumer_nms_update_msg_meta", "nms_update_msg_meta",
                   "(5, '', <([byte 0x73, 0x65, 0x72, 0x69, 0x61, 0x6c, 0x69, 0x73, 0x65, 0x64],)>, 10)",
                   "INmsSync::updateNmsMsgMeta"},
        CommandRow{"UpdateMetaWithoutMessageId", [] { return msg_consumer_nms_update_msg_meta(0, "x", a_meta()); },
                   "msg_consumer_nms_update_msg_meta", "nms_update_msg_meta",
                   "(0, 'x', <([byte 0x73, 0x65, 0x72, 0x69, 0x61, 0x6c, 0x69, 0x73, 0x65, 0x64],)>, 10)",
                   "INmsSync::updateNmsMsgMeta"},
        CommandRow{"DeleteMeta", [] { return msg_consumer_nms_delete_msg_meta(5, "obj"); },
                   "msg_consumer_nms_delete_msg_meta", "nms_delete_msg_meta", "(5, 'obj')",
                   "INmsSync::deleteNmsMsgMeta"},
        CommandRow{"DeleteMetaWithoutObjectId", [] { return msg_consumer_nms_delete_msg_meta(1, nullptr); },
                   "msg_consumer_nms_delete_msg_meta", "nms_delete_msg_meta", "(1, '')", "INmsSync::deleteNmsMsgMeta"},
        CommandRow{"DeleteMetaWithAnEmptyObjectId", [] { return msg_consumer_nms_delete_msg_meta(0, ""); },
                   "msg_consumer_nms_delete_msg_meta", "nms_delete_msg_meta", "(0, '')", "INmsSync::deleteNmsMsgMeta"},
        CommandRow{"DeleteInvalidMeta", [] { return msg_consumer_nms_delete_invalid_msg_meta(); },
                   "msg_consumer_nms_delete_invalid_msg_meta", "nms_delete_invalid_msg_meta", "null",
                   "INmsSync::deleteInvalidNmsMsgMetas"},
        CommandRow{"UpdateSubscription", [] { return update_subscription(token); }, "msg_consumer_nms_update_mssi_info",
                   "nms_update_subscription_info", "(uint64 9223372036854775809, 'token')",
                   "INmsSync::updateSubscriptionInfo"},
        CommandRow{"UpdateSubscriptionWithAnEmptyToken",
                   [] {
                     char empty[] = "";
                     return update_subscription(empty);
                   },
                   "msg_consumer_nms_update_mssi_info", "nms_update_subscription_info",
                   "(uint64 9223372036854775809, '')", "INmsSync::updateSubscriptionInfo"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    NmsMessages, Refusal,
    testing::Values(
        RefusalRow{"AddMessage", [] { return msg_consumer_nms_add_message(nullptr); }, "msg_consumer_nms_add_message",
                   "[ERROR] Invalid parameter: msg_item is nullptr!"},
        RefusalRow{"StatusSubType", [] { return msg_consumer_nms_get_message_network_status(1, nullptr, nullptr); },
                   "msg_consumer_nms_get_message_network_status", "[ERROR] Invalid parameter: subType is nullptr!"},
        RefusalRow{"StatusNetworkStatus",
                   [] {
                     int sub_type = 0;
                     return msg_consumer_nms_get_message_network_status(1, &sub_type, nullptr);
                   },
                   "msg_consumer_nms_get_message_network_status",
                   "[ERROR] Invalid parameter: networkStatus is nullptr!"},
        RefusalRow{"SendNothing", [] { return msg_consumer_nms_send_message(0, nullptr, nullptr, nullptr); },
                   "msg_consumer_nms_send_message", "[ERROR] Invalid parameter: recipient is nullptr!"},
        RefusalRow{"SendNoText", [] { return msg_consumer_nms_send_message(0, "+491", nullptr, nullptr); },
                   "msg_consumer_nms_send_message", "[ERROR] Invalid parameters: message is nullptr!"},
        RefusalRow{"SendWithoutId", [] { return msg_consumer_nms_send_message(0, "+491", "hi", nullptr); },
                   "msg_consumer_nms_send_message", "[ERROR] Invalid parameters: msgId is nullptr!"},
        RefusalRow{"SendNoMms", [] { return send_mms(nullptr, nullptr, nullptr, nullptr); },
                   "msg_consumer_nms_send_mms", "[ERROR] Invalid parameter: recipient is nullptr!"},
        RefusalRow{"SendMmsWithoutContent", [] { return send_mms("+491", nullptr, nullptr, nullptr); },
                   "msg_consumer_nms_send_mms", "[ERROR] Invalid parameters: message & filepath are nullptr!"},
        RefusalRow{"SendMmsWithoutId", [] { return send_mms("+491", "hi", nullptr, nullptr); },
                   "msg_consumer_nms_send_mms", "[ERROR] Invalid parameters: msgId is nullptr!"}),
    [](const auto& row) { return row.param.name; });

int uncorrelated(int type, int id_type, bool with_list = true) {
  List list(msg_consumer_free_nms_msg_meta_list);
  return msg_consumer_nms_get_uncorrelated_msg_meta_list("id", type, id_type, false,
                                                         with_list ? list.handle() : nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    NmsMetadata, Refusal,
    testing::Values(
        RefusalRow{"AddMeta", [] { return msg_consumer_nms_add_msg_meta(nullptr); }, "msg_consumer_nms_add_msg_meta",
                   "[ERROR] Invalid parameter: nms_msg_meta is nullptr!"},
        RefusalRow{"UpdateMetaWithNothing", [] { return msg_consumer_nms_update_msg_meta(0, nullptr, nullptr); },
                   "msg_consumer_nms_update_msg_meta", "[ERROR] Invalid parameter: nms_msg_meta is nullptr!"},
        RefusalRow{"UpdateMetaWithoutKey", [] { return msg_consumer_nms_update_msg_meta(0, nullptr, a_meta()); },
                   "msg_consumer_nms_update_msg_meta", "[ERROR] Invalid parameter: msgId:[0], objectId:[(null)]!"},
        RefusalRow{"DeleteMetaWithoutKey", [] { return msg_consumer_nms_delete_msg_meta(-3, nullptr); },
                   "msg_consumer_nms_delete_msg_meta", "[ERROR] Invalid parameter: msgId:[-3], objectId:[(null)]!"},
        RefusalRow{"GetMetaWithNothing", [] { return msg_consumer_nms_get_msg_meta(0, nullptr, nullptr); },
                   "msg_consumer_nms_get_msg_meta", "[ERROR] Invalid parameter: nms_msg_meta is nullptr!"},
        RefusalRow{"GetMetaWithoutKey",
                   [] {
                     msg_nms_msg_meta_data_t meta = {};
                     return msg_consumer_nms_get_msg_meta(-2, nullptr, &meta);
                   },
                   "msg_consumer_nms_get_msg_meta", "[ERROR] Invalid parameter: msgId:[-2] & objectId is nullptr!"},
        RefusalRow{"DownloadRequired", [] { return msg_consumer_nms_check_download_required_msg_exist(nullptr); },
                   "msg_consumer_nms_check_download_required_msg_exist",
                   "[ERROR] Invalid parameter: exist is nullptr!"},
        RefusalRow{"UncorrelatedWithoutList", [] { return uncorrelated(2, 3, false); },
                   "msg_consumer_nms_get_uncorrelated_msg_meta_list",
                   "[ERROR] Invalid parameter: msg_item_list is nullptr!"},
        RefusalRow{"UncorrelatedOfUnknownType", [] { return uncorrelated(2, 3); },
                   "msg_consumer_nms_get_uncorrelated_msg_meta_list", "[ERROR] Invalid parameter: type: (2)"},
        RefusalRow{"UncorrelatedOfNegativeType", [] { return uncorrelated(-1, 0); },
                   "msg_consumer_nms_get_uncorrelated_msg_meta_list", "[ERROR] Invalid parameter: type: (-1)"},
        RefusalRow{"UncorrelatedOfUnknownIdType", [] { return uncorrelated(1, 3); },
                   "msg_consumer_nms_get_uncorrelated_msg_meta_list", "[ERROR] Invalid parameter: id_type: (3)"},
        RefusalRow{"UncorrelatedOfNegativeIdType", [] { return uncorrelated(0, -1); },
                   "msg_consumer_nms_get_uncorrelated_msg_meta_list", "[ERROR] Invalid parameter: id_type: (-1)"},
        RefusalRow{"SyncRequired", [] { return msg_consumer_nms_get_sync_required_msg_meta_list(true, nullptr); },
                   "msg_consumer_nms_get_sync_required_msg_meta_list",
                   "[ERROR] Invalid parameter: msg_item_list is nullptr!"},
        RefusalRow{"DownloadRequiredList", [] { return msg_consumer_nms_get_download_required_msg_meta_list(nullptr); },
                   "msg_consumer_nms_get_download_required_msg_meta_list",
                   "[ERROR] Invalid parameter: msg_item_list is nullptr!"},
        RefusalRow{"GetSubscription", [] { return msg_consumer_nms_get_mssi_info(nullptr); },
                   "msg_consumer_nms_get_mssi_info", "[ERROR] Invalid parameter: mssi_info is nullptr!"},
        RefusalRow{"UpdateSubscription", [] { return msg_consumer_nms_update_mssi_info(nullptr); },
                   "msg_consumer_nms_update_mssi_info", "[ERROR] Invalid parameter: mssi_info is nullptr!"},
        RefusalRow{"UpdateSubscriptionWithoutToken", [] { return update_subscription(nullptr); },
                   "msg_consumer_nms_update_mssi_info", "[ERROR] Invalid parameter: restart_token is nullptr!"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Nms, Query,
    testing::Values(
        QueryRow{"NetworkStatus",
                 [](std::size_t& count) {
                   fake::store().messages[0].subType = 7;
                   fake::store().messages[0].networkStatus = 8;
                   int sub_type = -1;
                   int network_status = -1;
                   const int status = msg_consumer_nms_get_message_network_status(4, &sub_type, &network_status);
                   count = sub_type == 7 && network_status == 8 ? 1 : 0;
                   EXPECT_TRUE(count == 1 || (sub_type == -1 && network_status == -1));
                   return status;
                 },
                 "msg_consumer_nms_get_message_network_status", "db_get_message", "db_get_message(4)"},
        QueryRow{"Meta",
                 [](std::size_t& count) {
                   auto* const meta =
                       static_cast<msg_nms_msg_meta_data_t*>(std::calloc(1, sizeof(msg_nms_msg_meta_data_t)));
                   const int status = msg_consumer_nms_get_msg_meta(0, "obj", meta);
                   count = meta->msg_id != 0 ? 1 : 0;
                   msg_consumer_free_nms_msg_meta_item(meta);
                   return status;
                 },
                 "msg_consumer_nms_get_msg_meta", "db_get_nms_msg_meta", "db_get_nms_msg_meta(0, 'obj')"},
        QueryRow{"MetaWithoutObjectId",
                 [](std::size_t& count) {
                   auto* const meta =
                       static_cast<msg_nms_msg_meta_data_t*>(std::calloc(1, sizeof(msg_nms_msg_meta_data_t)));
                   const int status = msg_consumer_nms_get_msg_meta(1, nullptr, meta);
                   count = meta->msg_id != 0 ? 1 : 0;
                   msg_consumer_free_nms_msg_meta_item(meta);
                   return status;
                 },
                 "msg_consumer_nms_get_msg_meta", "db_get_nms_msg_meta", "db_get_nms_msg_meta(1, '')"},
        QueryRow{"UncorrelatedMetas",
                 [](std::size_t& count) {
                   return read_list(
                       count,
                       [](msg_list_handle_t* list) {
                         return msg_consumer_nms_get_uncorrelated_msg_meta_list("id", 1, 2, true, list);
                       },
                       msg_consumer_free_nms_msg_meta_list);
                 },
                 "msg_consumer_nms_get_uncorrelated_msg_meta_list", "db_get_uncorrelated_nms_msg_metas",
                 "db_get_uncorrelated_nms_msg_metas('id', 1, 2, true)", true},
        QueryRow{"UncorrelatedMetasWithoutId",
                 [](std::size_t& count) {
                   return read_list(
                       count,
                       [](msg_list_handle_t* list) {
                         return msg_consumer_nms_get_uncorrelated_msg_meta_list(nullptr, 0, 2, false, list);
                       },
                       msg_consumer_free_nms_msg_meta_list);
                 },
                 "msg_consumer_nms_get_uncorrelated_msg_meta_list", "db_get_uncorrelated_nms_msg_metas",
                 "db_get_uncorrelated_nms_msg_metas('', 0, 2, false)", true},
        QueryRow{"SyncRequiredMetas",
                 [](std::size_t& count) {
                   return read_list(
                       count,
                       [](msg_list_handle_t* list) {
                         return msg_consumer_nms_get_sync_required_msg_meta_list(true, list);
                       },
                       msg_consumer_free_nms_msg_meta_list);
                 },
                 "msg_consumer_nms_get_sync_required_msg_meta_list", "db_get_sync_required_nms_msg_metas",
                 "db_get_sync_required_nms_msg_metas(true)", true},
        QueryRow{"DownloadRequiredMetas",
                 [](std::size_t& count) {
                   return read_list(count, msg_consumer_nms_get_download_required_msg_meta_list,
                                    msg_consumer_free_nms_msg_meta_list);
                 },
                 "msg_consumer_nms_get_download_required_msg_meta_list", "db_get_download_required_nms_msg_metas",
                 "db_get_download_required_nms_msg_metas", true},
        QueryRow{"Subscription",
                 [](std::size_t& count) {
                   fake::store().noti_index = 9223372036854775809ULL;
                   fake::store().restart_token = "token";
                   auto* const read = static_cast<msg_nms_mssi_info_t*>(std::calloc(1, sizeof(msg_nms_mssi_info_t)));
                   const int status = msg_consumer_nms_get_mssi_info(read);
                   count = read->noti_index == 9223372036854775809ULL && std::string(read->restart_token) == "token";
                   EXPECT_TRUE(count == 1 || (read->noti_index == 0 && read->restart_token == nullptr));
                   msg_consumer_free_nms_mssi_info(read);
                   return status;
                 },
                 "msg_consumer_nms_get_mssi_info", "db_get_subscription_info", "db_get_subscription_info"}),
    [](const auto& row) { return row.param.name; });

using Nms = ClientTest;
using NmsMms = ClientTest;

TEST_F(Nms, DownloadRequiredIsLoggedWithoutAPrefix) {
  for (const auto& [result, status] : STATUSES) {
    SCOPED_TRACE(result);
    LogCapture::instance().clear();
    fake::store().result = result;
    bool exist = false;
    EXPECT_EQ(msg_consumer_nms_check_download_required_msg_exist(&exist), status);
    EXPECT_TRUE(exist) << "what the store wrote stays";
    if (result == 0 || result == -1101) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      expect_line(6, "db_has_download_required_message() failed: (" + std::to_string(result) + ")",
                  "msg-consumer-client.cpp", "msg_consumer_nms_check_download_required_msg_exist");
    }
  }
}

TEST_F(Nms, ListsGrowBehindWhatTheyHoldAlready) {
  fake::store().metas.resize(1);
  List list(msg_consumer_free_nms_msg_meta_list);
  for (int i = 1; i <= 3; ++i) {
    fake::store().metas[0].msgId = i;
    EXPECT_EQ(msg_consumer_nms_get_sync_required_msg_meta_list(false, list.handle()), 0);
  }
  for (unsigned int i = 0; i < 3; ++i) {
    EXPECT_EQ(list.at<msg_nms_msg_meta_data_t>(i)->msg_id, static_cast<int>(i) + 1);
  }
}

TEST_F(Nms, SerialisesTheCallersRecordAndNothingElse) {
  connect();
  msg_consumer_nms_add_message(a_message());
  msg_consumer_nms_add_msg_meta(a_meta());
  msg_consumer_nms_update_msg_meta(1, nullptr, a_meta());
  EXPECT_THAT(fake::store().serialised_records, ElementsAre(a_message(), a_meta(), a_meta()));
}

TEST_F(Nms, SendsNothingWhenARecordCannotBeSerialised) {
  connect();
  struct Row {
    int (*run)();
    const char* function;
    const char* error;
  };
  const std::array<Row, 3> rows = {{
      {[] { return msg_consumer_nms_add_message(a_message()); }, "msg_consumer_nms_add_message",
       "[ERROR] msg_serialize_message() failed!"},
      {[] { return msg_consumer_nms_add_msg_meta(a_meta()); }, "msg_consumer_nms_add_msg_meta",
       "[ERROR] msg_serialize_nms_msg_meta() failed!"},
      {[] { return msg_consumer_nms_update_msg_meta(1, nullptr, a_meta()); }, "msg_consumer_nms_update_msg_meta",
       "[ERROR] msg_serialize_nms_msg_meta() failed!"},
  }};
  for (const int length : {0, -1, -2147483647 - 1}) {
    fake::store().serialised_length = length;
    for (const auto& row : rows) {
      LogCapture::instance().clear();
      EXPECT_EQ(row.run(), -1);
      EXPECT_THAT(errors(), ElementsAre(row.error));
      expect_line(6, row.error, "msg-consumer-client.cpp", row.function);
    }
  }
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

/// Every function of the network store with arguments that it would refuse.
struct GateRow {
  const char* function;
  int (*run)();
};

void PrintTo(const GateRow& row, std::ostream* out) { *out << row.function; }

class Gate : public ClientTest, public testing::WithParamInterface<GateRow> {};

TEST_P(Gate, IsClosedWithoutNumberSyncBeforeAnyArgumentIsLookedAt) {
  connect();
  fake::store().numbersync_supported = false;
  fake::allocator().reset();
  EXPECT_EQ(GetParam().run(), -200);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, "[ERROR] Numbersync is not supported!", "msg-consumer-client.cpp", GetParam().function);
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_THAT(fake::store().calls, IsEmpty());
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Functions, Gate,
    testing::Values(
        GateRow{"msg_consumer_nms_add_message", [] { return msg_consumer_nms_add_message(nullptr); }},
        GateRow{"msg_consumer_nms_read_message", [] { return msg_consumer_nms_read_message(1); }},
        GateRow{"msg_consumer_nms_get_message_network_status",
                [] { return msg_consumer_nms_get_message_network_status(1, nullptr, nullptr); }},
        GateRow{"msg_consumer_nms_update_message_network_status",
                [] { return msg_consumer_nms_update_message_network_status(1, 1); }},
        GateRow{"msg_consumer_nms_delete_message", [] { return msg_consumer_nms_delete_message(1); }},
        GateRow{"msg_consumer_nms_delete_message_by_time", [] { return msg_consumer_nms_delete_message_by_time(1); }},
        GateRow{"msg_consumer_nms_send_message",
                [] { return msg_consumer_nms_send_message(0, nullptr, nullptr, nullptr); }},
        GateRow{"msg_consumer_nms_send_mms",
                [] { return msg_consumer_nms_send_mms(0, nullptr, nullptr, nullptr, nullptr); }},
        GateRow{"msg_consumer_nms_resend_message", [] { return msg_consumer_nms_resend_message(1); }},
        GateRow{"msg_consumer_nms_download_mms", [] { return msg_consumer_nms_download_mms(1); }},
        GateRow{"msg_consumer_nms_handle_resetbox", [] { return msg_consumer_nms_handle_resetbox(); }},
        GateRow{"msg_consumer_nms_add_msg_meta", [] { return msg_consumer_nms_add_msg_meta(nullptr); }},
        GateRow{"msg_consumer_nms_update_msg_meta",
                [] { return msg_consumer_nms_update_msg_meta(0, nullptr, nullptr); }},
        GateRow{"msg_consumer_nms_delete_msg_meta", [] { return msg_consumer_nms_delete_msg_meta(0, nullptr); }},
        GateRow{"msg_consumer_nms_delete_invalid_msg_meta", [] { return msg_consumer_nms_delete_invalid_msg_meta(); }},
        GateRow{"msg_consumer_nms_get_msg_meta", [] { return msg_consumer_nms_get_msg_meta(0, nullptr, nullptr); }},
        GateRow{"msg_consumer_nms_check_download_required_msg_exist",
                [] { return msg_consumer_nms_check_download_required_msg_exist(nullptr); }},
        GateRow{"msg_consumer_nms_get_uncorrelated_msg_meta_list",
                [] { return msg_consumer_nms_get_uncorrelated_msg_meta_list(nullptr, 9, 9, false, nullptr); }},
        GateRow{"msg_consumer_nms_get_sync_required_msg_meta_list",
                [] { return msg_consumer_nms_get_sync_required_msg_meta_list(false, nullptr); }},
        GateRow{"msg_consumer_nms_get_download_required_msg_meta_list",
                [] { return msg_consumer_nms_get_download_required_msg_meta_list(nullptr); }},
        GateRow{"msg_consumer_nms_get_mssi_info", [] { return msg_consumer_nms_get_mssi_info(nullptr); }},
        GateRow{"msg_consumer_nms_update_mssi_info", [] { return msg_consumer_nms_update_mssi_info(nullptr); }},
        GateRow{"msg_consumer_nms_set_delay_noti_event", [] { return msg_consumer_nms_set_delay_noti_event(1); }}),
    [](const auto& row) { return row.param.function; });

TEST_F(NmsMms, IsRefusedWhileThePlatformDoesNotSendIt) {
  connect();
  fake::platform().bools[MMS_KEY] = false;
  fake::allocator().reset();
  EXPECT_EQ(send_mms("+491", "hi", "/f", &id_out), -250);
  expect_line(6, "[ERROR] Sending mms is not supported!", "msg-consumer-client.cpp", "msg_consumer_nms_send_mms");
  EXPECT_EQ(fake::allocator().nothrow_news, 0);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(NmsMms, FailsWhenThePreferenceCannotBeRead) {
  connect();
  fake::platform().preference_result = -17;
  EXPECT_EQ(send_mms("+491", "hi", "/f", &id_out), -1);
  expect_line(6, "[ERROR] preference_get_int() for (consumer_preference_bool_support_sending_mms) failed: (-17) ",
              "msg-consumer-client.cpp", "msg_consumer_nms_send_mms");
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(NmsMms, IsSentWithoutAskingInWpcMode) {
  connect();
  fake::store().wpc_mode = true;
  fake::platform().bools[MMS_KEY] = false;
  fake::gio().reply_id_and_status(7, 0);
  EXPECT_EQ(send_mms("+491", "hi", "/f", &id_out), 0);
  fake::platform().preference_result = -17;
  EXPECT_EQ(send_mms("+491", "hi", "/f", &id_out), 0);
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

TEST_F(NmsMms, IsRefusedForItsArgumentsBeforeThePreferenceIsRead) {
  fake::platform().bools[MMS_KEY] = false;
  EXPECT_EQ(send_mms(nullptr, "hi", "/f", &id_out), -11);
  EXPECT_THAT(fake::platform().calls, IsEmpty());
}

TEST_F(Nms, EventDelayIsWrittenWhateverItIs) {
  for (const int value : {0, 5, -5, INT32_MIN}) {
    EXPECT_EQ(msg_consumer_nms_set_delay_noti_event(value), 0);
    EXPECT_EQ(fake::platform().ints["consumer_preference_int_delay_noti_event"], value);
  }
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Nms, EventDelayThatCannotBeWrittenIsSaid) {
  fake::platform().preference_result = -17;
  EXPECT_EQ(msg_consumer_nms_set_delay_noti_event(5), -1);
  expect_line(6, "[ERROR] preference_set_int() for (consumer_preference_int_delay_noti_event) failed: (-17) ",
              "msg-consumer-client.cpp", "msg_consumer_nms_set_delay_noti_event");
}

TEST_F(Nms, SubscriptionIsReleasedAtEveryLevelOfNull) {
  msg_consumer_free_nms_mssi_info(nullptr);
  msg_consumer_free_nms_mssi_info(static_cast<msg_nms_mssi_info_t*>(std::calloc(1, sizeof(msg_nms_mssi_info_t))));
}

}  // namespace
