// SPDX-License-Identifier: Apache-2.0
#include <systemd/sd-bus.h>

#include <cstdint>

#include "service-on-bus.hpp"
#include "service/inbox.hpp"
#include "service/record-values.hpp"
#include "service/store-writer.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BusCalls : public ServiceOnBus {
 protected:
  /// Stores an incoming message before the service starts. All of one sender, in thread 1.
  int received(const Message& message) {
    StoreWriter store(path);
    StoredMessage stored{.message = message, .sender_name = ""};
    stored.message.num_b = 0;
    stored.message.str_p = "+4917";
    Inbox(store).receive(stored);
    return stored.message.id;
  }
  static Message stored(int id) {
    Message message;
    EXPECT_EQ(db::db_get_message(id, message), db::DB_OK);
    return message;
  }
  static std::string changed(const char* signal, const char* event, int revision) {
    return std::string(signal) + R"( {"event":")" + event + R"(","revision":)" + std::to_string(revision) +
           R"(,"message_ids":[1],"thread_ids":[1]})";
  }
};

TEST_F(BusCalls, ASentMessageIsStoredAndItsWayIsAnnounced) {
  Client client(bus.address());
  EXPECT_THAT(client.send("+4917", "hello"), ElementsAre(1, 0));
  EXPECT_EQ(stored(1).str_d, "hello");
  ASSERT_TRUE(client.heard(4));
  EXPECT_THAT(client.signals(),
              ElementsAre(changed("storage_changed", "added", 1), changed("storage_changed", "changed", 2),
                          changed("storage_changed", "changed", 3), changed("storage_changed", "changed", 4)));
  EXPECT_EQ(stored(1).num_f, DELIVERY_DELIVERED);
}

TEST_F(BusCalls, ADraftIsStoredAnnouncedAndLaterSent) {
  Client client(bus.address());
  EXPECT_THAT(client.call("add_message", g_variant_new("(sisssi)", "sms", 0, "+4917", "later", "", 2)).integers(),
              ElementsAre(1, 0));
  EXPECT_EQ(stored(1).num_e, DIRECTION_DRAFT);
  EXPECT_EQ(stored(1).num_h, 2);
  EXPECT_THAT(client.call("resend_message", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  ASSERT_TRUE(client.heard(5));
  EXPECT_EQ(client.signals().at(0), changed("storage_changed", "added", 1));
  EXPECT_EQ(client.signals().at(1), changed("storage_changed", "changed", 2));
  EXPECT_EQ(stored(1).num_f, DELIVERY_DELIVERED);
  EXPECT_THAT(client.call("resend_message", g_variant_new("(i)", 1)).integers(), ElementsAre(-5));
}

TEST_F(BusCalls, AMessageIsReadAndDeleted) {
  received({});
  Client client(bus.address());
  EXPECT_THAT(client.call("read_message", g_variant_new("(ii)", 1, 0)).integers(), ElementsAre(0));
  EXPECT_EQ(stored(1).flag_j, 1);
  EXPECT_THAT(client.call("delete_message", g_variant_new("(ii)", 1, 0)).integers(), ElementsAre(0));
  Message message;
  EXPECT_EQ(db::db_get_message(1, message), db::DB_NO_RECORD);
  EXPECT_THAT(client.call("delete_message", g_variant_new("(ii)", 1, 0)).integers(), ElementsAre(-1101));
  ASSERT_TRUE(client.heard(2));
  EXPECT_THAT(client.signals(),
              ElementsAre(changed("storage_changed", "changed", 2), changed("storage_changed", "deleted", 3)));
}

TEST_F(BusCalls, ABlockedMessageIsRestored) {
  Message blocked;
  blocked.flag_l = 1;
  received(blocked);
  Client client(bus.address());
  EXPECT_THAT(client.call("restore_block_message", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  EXPECT_EQ(stored(1).flag_l, 0);
  ASSERT_TRUE(client.heard(1));
  EXPECT_THAT(client.signals(), ElementsAre(changed("storage_changed", "changed", 2)));
}

TEST_F(BusCalls, AMessageIsExported) {
  received({});
  Client client(bus.address());
  EXPECT_THAT(client.call("export_to_phone", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  EXPECT_EQ(stored(1).flag_r, 1);
  ASSERT_TRUE(client.heard(1));
  EXPECT_THAT(client.signals(), ElementsAre(changed("store_message_result", "exported", 2)));
}

TEST_F(BusCalls, AnMmsIsRetrieved) {
  Message notification;
  notification.num_c = TYPE_MMS;
  notification.subType = SUBTYPE_MMS_NOTIFICATION;
  notification.num_n = RETRIEVAL_NEEDED;
  received(notification);
  Client client(bus.address());
  EXPECT_THAT(client.call("update_retrieve_mms_message", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  ASSERT_TRUE(client.heard(2));
  EXPECT_THAT(client.signals(),
              ElementsAre(changed("storage_changed", "changed", 2), changed("storage_changed", "changed", 3)));
  EXPECT_EQ(stored(1).num_n, RETRIEVAL_DONE);
}

TEST_F(BusCalls, ThreadsAreReadRefreshedAndDeleted) {
  received({});
  Client client(bus.address());
  EXPECT_THAT(client.call("set_active_thread_id", g_variant_new("(i)", -1)).integers(), ElementsAre(0));
  EXPECT_THAT(client.call("read_thread", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  EXPECT_THAT(client.call("update_group_chat_address", g_variant_new("(i)", 1)).integers(), ElementsAre(-5));
  const std::vector<int> ids = {1, 1};
  GVariant* array = g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, ids.data(), ids.size(), sizeof(int));
  EXPECT_THAT(client.call("delete_threads", g_variant_new("(v)", array)).integers(), ElementsAre(0));
  EXPECT_THAT(client.call("delete_thread", g_variant_new("(i)", 1)).integers(), ElementsAre(-1101));
  ASSERT_TRUE(client.heard(2));
  EXPECT_THAT(client.signals(),
              ElementsAre(changed("storage_changed", "changed", 2), changed("storage_changed", "deleted", 3)));
}

TEST_F(BusCalls, AnAttachmentGoesInAndComesBack) {
  Client client(bus.address());
  test::write_file(folder.file("photo.png"), "image");
  test::write_file(folder.file("note.txt"), "text");
  GVariant* mms = g_variant_new("(sisssi)", "mms", 0, "+4917", "look", folder.file("photo.png").c_str(), 1);
  EXPECT_THAT(client.call("send_message", mms).integers(), ElementsAre(1, 0));
  GVariant* more = g_variant_new("(is)", 1, folder.file("note.txt").c_str());
  EXPECT_THAT(client.call("send_content_file", more).integers(), ElementsAre(0));
  const std::string copy = folder.file("copy.png");
  EXPECT_THAT(client.call("get_content_file", g_variant_new("(is)", 1, copy.c_str())).integers(), ElementsAre(0));
  EXPECT_EQ(test::read_file(copy), "image");
  EXPECT_THAT(client.call("get_content_file", g_variant_new("(is)", 1, copy.c_str())).integers(), ElementsAre(-25));
  EXPECT_EQ(stored(1).contents.size(), 3U);
}

TEST_F(BusCalls, DeviceRequestsAreTaken) {
  received({});
  Client client(bus.address());
  EXPECT_THAT(client.call("show_on_device", g_variant_new("(i)", 1)).integers(), ElementsAre(0));
  EXPECT_THAT(client.call("send_change_sms_application_request", g_variant_new("(b)", TRUE)).integers(),
              ElementsAre(0));
}

TEST_F(BusCalls, ARefusedMessageHasNoId) {
  Client client(bus.address());
  EXPECT_THAT(client.send("", "nobody"), ElementsAre(0, -3));
}

struct Malformed {
  const char* name;
  const char* method;
  const char* arguments;
  const char* error;
};

class MalformedCalls : public ServiceOnBus, public testing::WithParamInterface<Malformed> {};

TEST_P(MalformedCalls, AreAnsweredWithAnErrorAndDoNoHarm) {
  Client client(bus.address());
  const Reply reply = client.call(GetParam().method, g_variant_new_parsed(GetParam().arguments));
  EXPECT_EQ(reply.error, GetParam().error);
  EXPECT_THAT(client.send("+4917", "still here"), ElementsAre(1, 0));
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, MalformedCalls,
    testing::Values(
        Malformed{"UnknownMethod", "frobnicate", "(1,)", "org.freedesktop.DBus.Error.UnknownMethod"},
        Malformed{"TooFewArguments", "read_message", "(1,)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"TextForNumber", "read_thread", "('1',)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"TextForArray", "delete_threads", "(<'1'>,)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"OtherArray", "delete_threads", "(<[int64 1]>,)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"BytesWithoutATuple", "nms_add_message", "(<b'{}'>, 3)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"TextInATuple", "nms_add_msg_meta", "(<('{}',)>, 2)", "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"MoreThanBytes", "nms_update_msg_meta", "(1, 'o', <(b'{}', 3)>, 3)",
                  "org.freedesktop.DBus.Error.InvalidArgs"},
        Malformed{"SignedIndex", "nms_update_subscription_info", "(int64 1, 't')",
                  "org.freedesktop.DBus.Error.InvalidArgs"}),
    [](const auto& row) { return row.param.name; });

using Types = std::vector<std::uint8_t>;

int note_type(sd_bus_message* message, void* types, sd_bus_error* /*error*/) {
  std::uint8_t type = 0;
  sd_bus_message_get_type(message, &type);
  static_cast<Types*>(types)->push_back(type);
  return 0;
}

TEST_F(BusCalls, TheReplyComesBeforeTheSignal) {
  received({});
  sd_bus* handle = nullptr;
  ASSERT_GE(sd_bus_open_system(&handle), 0);
  const Owned<sd_bus, sd_bus_flush_close_unref> client(handle);
  Types types;
  ASSERT_GE(sd_bus_match_signal(client.get(), nullptr, BUS_NAME, OBJECT_PATH, INTERFACE_NAME, "storage_changed",
                                note_type, &types),
            0);
  ASSERT_GE(sd_bus_call_method_async(client.get(), nullptr, BUS_NAME, OBJECT_PATH, INTERFACE_NAME, "delete_message",
                                     note_type, &types, "ii", 1, 0),
            0);
  const auto both_are_in = [&] {
    sd_bus_process(client.get(), nullptr);
    return types.size() >= 2;
  };
  ASSERT_TRUE(test::wait_until(both_are_in));
  EXPECT_THAT(types, ElementsAre(SD_BUS_MESSAGE_METHOD_RETURN, SD_BUS_MESSAGE_SIGNAL));
}

}  // namespace
}  // namespace msg_consumer::service
