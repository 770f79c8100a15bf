// SPDX-License-Identifier: Apache-2.0
#include "client-test.hpp"
#include "request-test.hpp"

#include <msg-consumer/ipc/CNmsSync.h>

using namespace msg_consumer;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int id_out = 0;

INmsSync& requests() {
  static CNmsSync instance;
  return instance;
}

RequestRow nms(const char* name, std::function<int()> run, const char* function, const char* method, const char* params,
               std::vector<std::string> traces, int* out = nullptr) {
  return {name,
          std::move(run),
          "CNmsSync.cpp",
          function,
          method,
          params,
          std::move(traces),
          out,
          "[ERROR] IPCProxy::getCmdString() failed!",
          "[ERROR] IPCProxy::getCmdStruct() failed!"};
}

INSTANTIATE_TEST_SUITE_P(
    Nms, Request,
    testing::Values(
        nms("AddMessage", [] { return requests().addMessage("abc", 3); }, "addMessage", "nms_add_message",
            "(<([byte 0x61, 0x62, 0x63],)>, 3)", {"size:(3)"}),
        nms("DeleteMessagesByTime", [] { return requests().deleteMessagesByTime(-9); }, "deleteMessagesByTime",
            "nms_delete_message_by_time", "(-9,)", {}),
        nms(
            "SendMessage", [] { return requests().sendMessage("sms", 7, "+491", "hi", "/f", &id_out); }, "sendMessage",
            "nms_send_message", "('sms', 7, '+491', 'hi', '/f')", {"threadId:(7), msgType:(sms)"}, &id_out),
        nms("ResendMessage", [] { return requests().resendMessage(8); }, "resendMessage", "nms_resend_message", "(8,)",
            {"msgId:(8)"}),
        nms("AddNmsMsgMeta", [] { return requests().addNmsMsgMeta("ab", 2); }, "addNmsMsgMeta", "nms_add_msg_meta",
            "(<([byte 0x61, 0x62],)>, 2)", {"size:(2)"}),
        nms("UpdateNmsMsgMeta", [] { return requests().updateNmsMsgMeta(5, "obj", "ab", 2); }, "updateNmsMsgMeta",
            "nms_update_msg_meta", "(5, 'obj', <([byte 0x61, 0x62],)>, 2)", {"msgId:(5), objectId:(obj), size:(2)"}),
        nms("DeleteNmsMsgMeta", [] { return requests().deleteNmsMsgMeta(5, ""); }, "deleteNmsMsgMeta",
            "nms_delete_msg_meta", "(5, '')", {"msgId:(5), objectId:()"}),
        nms("DeleteInvalidNmsMsgMetas", [] { return requests().deleteInvalidNmsMsgMetas(); },
            "deleteInvalidNmsMsgMetas", "nms_delete_invalid_msg_meta", "null", {""}),
        nms("HandleResetBox", [] { return requests().handleResetBox(); }, "handleResetBox", "nms_handle_resetbox",
            "null", {""}),
        nms("DownloadMms", [] { return requests().downloadMms(9); }, "downloadMms", "nms_download_mms", "(9,)",
            {"msgId:(9)"}),
        nms("UpdateNetworkStatus", [] { return requests().updateNetworkStatus(10, -4); }, "updateNetworkStatus",
            "nms_update_message_network_status", "(10, -4)", {"msgId:(10), networkStatus:(-4)"}),
        nms("UpdateSubscriptionInfo", [] { return requests().updateSubscriptionInfo(9223372036854775809ULL, "t"); },
            "updateSubscriptionInfo", "nms_update_subscription_info", "(uint64 9223372036854775809, 't')",
            {"notiIndex:(9223372036854775809)"})),
    [](const auto& row) { return row.param.name; });

using NmsRequests = ClientTest;

TEST_F(NmsRequests, SendBytesThatAreNoText) {
  connect();
  const std::string bytes("\0\xff\x80", 3);
  EXPECT_EQ(requests().addMessage(bytes.data(), 3), 0);
  EXPECT_EQ(fake::gio().calls.at(0).params, "(<([byte 0x00, 0xff, 0x80],)>, 3)");
  EXPECT_EQ(fake::gio().calls.at(0).params_type, "(vi)");
}

TEST_F(NmsRequests, LookNothingUpButTheNameForACommandWithoutArguments) {
  connect();
  fake::store().catalogue_has_formats = false;
  EXPECT_EQ(requests().deleteInvalidNmsMsgMetas(), 0);
  EXPECT_EQ(requests().handleResetBox(), 0);
}

TEST_F(NmsRequests, RefuseABufferThatCannotBe) {
  connect();
  EXPECT_EQ(requests().addMessage(nullptr, 3), -2);
  EXPECT_EQ(requests().addMessage("abc", -1), -2);
  EXPECT_THAT(errors(), ElementsAre("[ERROR] g_variant_new() failed!", "[ERROR] g_variant_new() failed!"));
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

TEST_F(NmsRequests, RefuseTextThatIsNotUtf8) {
  connect();
  EXPECT_EQ(requests().sendMessage("sms", 0, "+491", "\xff", "", &id_out), -2);
  EXPECT_EQ(requests().deleteNmsMsgMeta(1, "\xff"), -2);
  EXPECT_EQ(requests().updateSubscriptionInfo(1, "\xff"), -2);
  EXPECT_THAT(fake::gio().calls, IsEmpty());
}

}  // namespace
