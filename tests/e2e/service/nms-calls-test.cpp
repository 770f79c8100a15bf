// SPDX-License-Identifier: Apache-2.0
#include <cstdint>

#include "service-on-bus.hpp"
#include "service/record-values.hpp"
#include "unit/service/serialized-records.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;

class NmsCalls : public ServiceOnBus {
 protected:
  /// As a client makes it: over the bytes themselves, which then need no terminator.
  static GVariant* variant_of(const std::string& bytes) {
    GVariant* array = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
    return g_variant_new_tuple(&array, 1);
  }
  static std::vector<int> add_message(Client& client, const Message& message) {
    const std::string bytes = test::serialized(message);
    return client.call("nms_add_message", g_variant_new("(vi)", variant_of(bytes), static_cast<int>(bytes.size())))
        .integers();
  }
  static std::vector<int> add_meta(Client& client, const NmsMsgMeta& meta) {
    const std::string bytes = test::serialized(meta);
    return client.call("nms_add_msg_meta", g_variant_new("(vi)", variant_of(bytes), static_cast<int>(bytes.size())))
        .integers();
  }
  static std::vector<int> update_meta(Client& client, int message_id, const char* object_id, const NmsMsgMeta& meta) {
    const std::string bytes = test::serialized(meta);
    GVariant* arguments =
        g_variant_new("(isvi)", message_id, object_id, variant_of(bytes), static_cast<int>(bytes.size()));
    return client.call("nms_update_msg_meta", arguments).integers();
  }

  static Message incoming() {
    Message message;
    message.num_c = TYPE_SMS;
    message.num_e = DIRECTION_INCOMING;
    message.str_d = "hello";
    message.str_p = "+4917";
    message.time_ms = 1'700'000'000'000;
    return message;
  }
  static NmsMsgMeta meta_of_object(const char* object_id) {
    NmsMsgMeta meta;
    meta.metaStr1 = object_id;
    return meta;
  }
  static Message stored(int id) {
    Message message;
    EXPECT_EQ(db::db_get_message(id, message), db::DB_OK);
    return message;
  }
};

TEST_F(NmsCalls, AMessageIsAddedMarkedAndDeletedByTime) {
  Client client(bus.address());
  EXPECT_THAT(add_message(client, incoming()), ElementsAre(0));
  EXPECT_EQ(stored(1).str_d, "hello");
  EXPECT_THAT(client.call("nms_update_message_network_status", g_variant_new("(ii)", 1, 7)).integers(), ElementsAre(0));
  EXPECT_EQ(stored(1).networkStatus, 7);
  EXPECT_THAT(client.call("nms_delete_message_by_time", g_variant_new("(i)", 1'700'000'001)).integers(),
              ElementsAre(0));
  Message message;
  EXPECT_EQ(db::db_get_message(1, message), db::DB_NO_RECORD);
  ASSERT_TRUE(client.heard(3));
  EXPECT_THAT(client.signals(),
              ElementsAre(R"(storage_changed {"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})",
                          R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})",
                          R"(storage_changed {"event":"deleted","revision":3,"message_ids":[1],"thread_ids":[1]})"));
}

TEST_F(NmsCalls, AnEmptyRecordIsRefused) {
  Client client(bus.address());
  EXPECT_THAT(client.call("nms_add_message", g_variant_new("(vi)", variant_of(""), 0)).integers(), ElementsAre(-3));
}

TEST_F(NmsCalls, AMessageIsSentAndAnUnsentOneSentAgain) {
  Client client(bus.address());
  GVariant* arguments = g_variant_new("(sisss)", "sms", 0, "+4917", "hello", "");
  EXPECT_THAT(client.call("nms_send_message", arguments).integers(), ElementsAre(1, 0));
  EXPECT_EQ(stored(1).num_h, 0);
  Message failed = incoming();
  failed.num_e = DIRECTION_OUTGOING;
  failed.num_f = DELIVERY_FAILED;
  Address recipient;
  recipient.num_b = 1;
  recipient.num_c = ROLE_TO;
  recipient.address = "+4917";
  failed.addresses = {recipient};
  EXPECT_THAT(add_message(client, failed), ElementsAre(0));
  EXPECT_THAT(client.call("nms_resend_message", g_variant_new("(i)", 2)).integers(), ElementsAre(0));
  EXPECT_TRUE(test::wait_until([] { return stored(2).num_f == DELIVERY_DELIVERED; }));
}

TEST_F(NmsCalls, AnMmsIsDownloaded) {
  Client client(bus.address());
  Message notification = incoming();
  notification.num_c = TYPE_MMS;
  notification.num_n = RETRIEVAL_NEEDED;
  EXPECT_THAT(add_message(client, notification), ElementsAre(0));
  EXPECT_THAT(client.call("nms_download_mms", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  EXPECT_TRUE(test::wait_until([] { return stored(1).num_n == RETRIEVAL_DONE; }));
}

TEST_F(NmsCalls, MetadataIsAddedCorrelatedAndDeleted) {
  Client client(bus.address());
  EXPECT_THAT(add_message(client, incoming()), ElementsAre(0));
  EXPECT_THAT(add_meta(client, meta_of_object("object")), ElementsAre(0));
  NmsMsgMeta correlated = meta_of_object("object");
  correlated.msgId = 1;
  correlated.metaFlag3 = true;
  EXPECT_THAT(update_meta(client, 0, "object", correlated), ElementsAre(0));
  EXPECT_TRUE(stored(1).nms_meta.metaFlag3);
  EXPECT_THAT(client.call("nms_delete_msg_meta", g_variant_new("(is)", 1, "")).integers(), ElementsAre(0));
  EXPECT_EQ(stored(1).nms_meta.metaStr1, "");
  EXPECT_THAT(client.call("nms_delete_msg_meta", g_variant_new("(is)", 1, "")).integers(), ElementsAre(-1101));
}

TEST_F(NmsCalls, InvalidMetadataIsRemovedAndTheBoxReset) {
  Client client(bus.address());
  EXPECT_THAT(add_message(client, incoming()), ElementsAre(0));
  NmsMsgMeta meta = meta_of_object("object");
  meta.msgId = 1;
  EXPECT_THAT(add_meta(client, meta), ElementsAre(0));
  EXPECT_THAT(client.call("delete_message", g_variant_new("(ii)", 1, 1)).integers(), ElementsAre(0));
  EXPECT_EQ(db::db_get_nms_msg_meta(1, "object", meta), db::DB_OK);
  EXPECT_THAT(client.call("nms_delete_invalid_msg_meta").integers(), ElementsAre(0));
  EXPECT_EQ(db::db_get_nms_msg_meta(1, "object", meta), db::DB_NO_RECORD);

  EXPECT_THAT(add_meta(client, meta_of_object("other")), ElementsAre(0));
  EXPECT_THAT(client.call("nms_handle_resetbox").integers(), ElementsAre(0));
  EXPECT_EQ(db::db_get_nms_msg_meta(0, "other", meta), db::DB_NO_RECORD);
}

TEST_F(NmsCalls, ASubscriptionKeepsAllBitsOfItsIndex) {
  Client client(bus.address());
  constexpr std::uint64_t INDEX = (UINT64_C(1) << 63) + 1;
  EXPECT_THAT(client.call("nms_update_subscription_info", g_variant_new("(ts)", INDEX, "token")).integers(),
              ElementsAre(0));
  unsigned long long index = 0;
  std::string token;
  ASSERT_EQ(db::db_get_subscription_info(index, token), db::DB_OK);
  EXPECT_EQ(index, INDEX);
  EXPECT_EQ(token, "token");
}

}  // namespace
}  // namespace msg_consumer::service
