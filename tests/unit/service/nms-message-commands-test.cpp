// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "serialized-records.hpp"
#include "service-test.hpp"
#include "unit/store/record-compare.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Address address_of(const char* text, AddressRole role, bool is_own = false) {
  Address address;
  address.num_b = 1;
  address.num_c = role;
  address.address = text;
  address.flag_e = is_own ? 1 : 0;
  return address;
}

Message record_message(Direction direction) {
  Message message;
  message.num_c = TYPE_SMS;
  message.num_e = direction;
  message.str_d = "from the network";
  message.time_ms = 1'600'000'000'000;
  if (direction == DIRECTION_INCOMING) {
    message.str_p = "+491";
  } else {
    message.addresses = {address_of("+491", ROLE_TO)};
  }
  return message;
}

Content part_of(int kind, const char* mime_type) {
  Content part;
  part.id = 77;
  part.num_b = 78;
  part.kind = kind;
  part.str_e = mime_type;
  return part;
}

class NmsMessages : public ServiceTest {
 protected:
  Outcome add(const Message& message) {
    const std::string text = test::serialized(message);
    return commands.nms_add_message(test::as_record(text));
  }
};

TEST_F(NmsMessages, AnIncomingOneIsStoredAsItWasGivenAndAnnounced) {
  Message message = record_message(DIRECTION_INCOMING);
  message.id = 4711;
  message.networkStatus = -9;
  message.num_h = 2;
  message.flag_k = 1;
  message.num_m = 2;
  message.str_o = "subject";
  message.flag_r = 1;
  message.str_s = "phone-3";
  EXPECT_EQ(signal_of(add(message)),
            R"(storage_changed {"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})");

  const Message read = stored(1);
  message.id = 1;
  message.num_b = 1;
  message.addresses = {address_of("+491", ROLE_FROM)};
  message.addresses[0].num_a = 1;
  EXPECT_TRUE(read == message);
  EXPECT_FALSE(message_exists(4711));
  EXPECT_EQ(stored_thread(1).num_b, 1);
  EXPECT_EQ(commands.delete_message(1, 1).status, STATUS_NOT_APPLICABLE) << "the lock was kept";
}

TEST_F(NmsMessages, AnOutgoingOneAndADraftStayWhatTheyAre) {
  Message sent = record_message(DIRECTION_OUTGOING);
  sent.num_f = DELIVERY_SENT;
  ASSERT_EQ(add(sent).status, STATUS_OK);
  ASSERT_EQ(add(record_message(DIRECTION_DRAFT)).status, STATUS_OK);
  EXPECT_EQ(stored(1).num_e, DIRECTION_OUTGOING);
  EXPECT_EQ(stored(1).num_f, DELIVERY_SENT);
  EXPECT_EQ(stored(2).num_e, DIRECTION_DRAFT);
  EXPECT_EQ(stored_thread(1).num_g, 2);
  EXPECT_EQ(stored_thread(1).flag_e, 1);
}

TEST_F(NmsMessages, OnlyAnOutgoingOneCanBeOnItsWay) {
  for (const Direction direction : {DIRECTION_INCOMING, DIRECTION_DRAFT, DIRECTION_OUTGOING}) {
    Message message = record_message(direction);
    message.num_f = DELIVERY_QUEUED;
    add(message);
  }
  EXPECT_THAT(store.messages().in_flight(DELIVERY_QUEUED), ElementsAre(3));
  EXPECT_GT(network.send_requests, 0);
}

TEST_F(NmsMessages, OneThatWasStoredBeforeKeepsItsAddressesOnce) {
  receive_from("+49 (1)");
  add(stored(1));
  EXPECT_EQ(stored(2).addresses.size(), 1U);
  EXPECT_EQ(stored(2).num_b, 1);
  EXPECT_NE(stored(2).addresses[0].num_a, stored(1).addresses[0].num_a);
}

TEST_F(NmsMessages, InTheActiveThreadCountAsReadWhenTheyCameIn) {
  send("+491");
  commands.set_active_thread_id(1);
  add(record_message(DIRECTION_INCOMING));
  EXPECT_EQ(stored(2).flag_j, 1);
  Message elsewhere = record_message(DIRECTION_INCOMING);
  elsewhere.str_p = "+492";
  add(elsewhere);
  EXPECT_EQ(stored(3).flag_j, 0);
}

TEST_F(NmsMessages, OfADownloadThatIsStillNeededCanBeDownloaded) {
  Message message = record_message(DIRECTION_INCOMING);
  message.num_c = TYPE_MMS;
  message.num_n = RETRIEVAL_NEEDED;
  add(message);
  EXPECT_EQ(stored(1).subType, SUBTYPE_MMS_NOTIFICATION);
  EXPECT_EQ(commands.update_retrieve_mms_message(1).status, STATUS_OK);
  message.num_n = RETRIEVAL_DONE;
  add(message);
  EXPECT_EQ(stored(2).subType, SUBTYPE_PLAIN);
  message.flag_l = 1;
  add(message);
  EXPECT_EQ(stored(3).subType, SUBTYPE_BLOCKED);
  EXPECT_EQ(commands.restore_block_message(3).status, STATUS_OK);
}

TEST_F(NmsMessages, PartsKeepTheirTextsAndLoseTheirFiles) {
  Message message = record_message(DIRECTION_INCOMING);
  message.num_c = TYPE_MMS;
  Content body = part_of(Content::KIND_TEXT, "text/plain");
  body.flag_c = 1;
  body.flag_d = 1;
  body.str_l = "from the network";
  Content image = part_of(Content::KIND_IMAGE, "image/png");
  image.flag_d = 1;
  image.str_g = "/etc/shadow";
  image.str_h = "photo.png";
  image.str_i = "/etc/passwd";
  image.str_j = "<image>";
  message.contents = {body, image};
  ASSERT_EQ(add(message).status, STATUS_OK);

  const std::vector<Content> contents = stored(1).contents;
  ASSERT_EQ(contents.size(), 2U);
  body.id = 1;
  body.num_b = 1;
  EXPECT_TRUE(contents[0] == body);
  image.id = 2;
  image.num_b = 1;
  image.flag_d = 0;
  image.str_g = "";
  image.str_i = "";
  EXPECT_TRUE(contents[1] == image);
  EXPECT_EQ(commands.get_content_file(1, folder.file("copy")).status, STATUS_NOT_APPLICABLE);
  EXPECT_EQ(commands.delete_message(1, 1).status, STATUS_OK);
}

TEST_F(NmsMessages, TheirMetadataIsStoredWithThem) {
  Message message = record_message(DIRECTION_INCOMING);
  message.nms_meta.msgId = 4711;
  message.nms_meta.metaStr2 = "correlation";
  add(message);
  EXPECT_EQ(stored(1).nms_meta.metaStr2, "correlation");
  EXPECT_EQ(stored(1).nms_meta.msgId, 1);
  message.nms_meta.metaStr1 = "object";
  add(message);
  NmsMsgMeta meta;
  ASSERT_EQ(db::db_get_nms_msg_meta(2, "object", meta), db::DB_OK);
  EXPECT_TRUE(stored(2).nms_meta == meta);
  // Nothing could ever find or correlate what has neither of the two ids.
  message.nms_meta = NmsMsgMeta();
  message.nms_meta.metaStr3 = "/folder";
  add(message);
  EXPECT_EQ(db::db_get_nms_msg_meta(3, "", meta), db::DB_NO_RECORD);
}

TEST_F(NmsMessages, BelongToTheThreadOfTheirCorrespondents) {
  Message message = record_message(DIRECTION_INCOMING);
  message.addresses = {address_of("+492", ROLE_ANY), address_of("+493", ROLE_TO), address_of("+494", ROLE_CC),
                       address_of("+495", ROLE_FROM, true)};
  add(message);
  EXPECT_EQ(stored_thread(1).str_m, "+491, +492");
  EXPECT_EQ(stored(1).addresses.size(), 5U);
  message.num_e = DIRECTION_OUTGOING;
  add(message);
  EXPECT_EQ(stored_thread(2).str_m, "+492, +493, +494");
}

TEST_F(NmsMessages, OfAGroupChatShareAGroupOfTheirOwn) {
  send("+491");
  Message message = record_message(DIRECTION_INCOMING);
  message.num_c = TYPE_GROUP_CHAT;
  add(message);
  EXPECT_EQ(stored(2).num_b, 2);
  EXPECT_EQ(stored_thread(2).flag_p, 1);
  add(message);
  EXPECT_EQ(stored(3).num_b, 2);
  send("+491");
  EXPECT_EQ(stored(4).num_b, 1);
}

TEST_F(NmsMessages, InAGroupChatAreOfItsType) {
  Message message = record_message(DIRECTION_INCOMING);
  message.num_b = make_group({"+491", "+492"});
  ASSERT_EQ(add(message).status, STATUS_OK);
  EXPECT_EQ(stored(1).num_b, message.num_b);
  EXPECT_EQ(stored(1).num_c, TYPE_GROUP_CHAT);
}

TEST_F(NmsMessages, AreNotStoredByHalves) {
  Message message = record_message(DIRECTION_INCOMING);
  message.nms_meta.metaStr1 = "object";
  break_the_store();
  EXPECT_EQ(add(message).status, STATUS_FAILED);
  NmsMsgMeta meta;
  EXPECT_EQ(db::db_get_nms_msg_meta(0, "object", meta), db::DB_NO_RECORD);
  EXPECT_FALSE(message_exists(1));
  EXPECT_FALSE(thread_exists(1));
}

struct BadMessage {
  const char* name;
  std::function<void(Message&)> spoil;
  Status status;
};

class BadMessages : public NmsMessages, public testing::WithParamInterface<BadMessage> {};

TEST_P(BadMessages, AreRefusedAndChangeNothing) {
  send("+491");
  Message message = record_message(DIRECTION_INCOMING);
  GetParam().spoil(message);
  const Outcome outcome = add(message);
  EXPECT_EQ(outcome.status, GetParam().status);
  EXPECT_EQ(signal_of(outcome), "");
  EXPECT_FALSE(message_exists(2));
  EXPECT_FALSE(thread_exists(2));
  EXPECT_EQ(stored_thread(1).num_g, 1);
}

INSTANTIATE_TEST_SUITE_P(
    EachCase, BadMessages,
    testing::Values(BadMessage{"OfNobody", [](Message& m) { m.str_p = ""; }, STATUS_INVALID_ARGUMENT},
                    BadMessage{"OfNobodyInAThread",
                               [](Message& m) {
                                 m.str_p = "";
                                 m.num_b = 1;
                               },
                               STATUS_INVALID_ARGUMENT},
                    BadMessage{"SenderOfPunctuation", [](Message& m) { m.str_p = "(-)"; }, STATUS_INVALID_ARGUMENT},
                    BadMessage{"RecipientOfPunctuation", [](Message& m) { m.addresses = {address_of(" ", ROLE_TO)}; },
                               STATUS_INVALID_ARGUMENT},
                    BadMessage{"FromRecipientsOnly",
                               [](Message& m) {
                                 m.str_p = "";
                                 m.addresses = {address_of("+492", ROLE_TO)};
                               },
                               STATUS_INVALID_ARGUMENT},
                    BadMessage{"ToTheDeviceItself",
                               [](Message& m) {
                                 m.num_e = DIRECTION_OUTGOING;
                                 m.addresses = {address_of("+492", ROLE_TO, true)};
                               },
                               STATUS_INVALID_ARGUMENT},
                    BadMessage{"UnknownThread", [](Message& m) { m.num_b = 4711; }, STATUS_NO_RECORD},
                    BadMessage{"HugeThread", [](Message& m) { m.num_b = 2147483647; }, STATUS_NO_RECORD},
                    BadMessage{"GroupChatInAPlainThread",
                               [](Message& m) {
                                 m.num_b = 1;
                                 m.num_c = TYPE_GROUP_CHAT;
                               },
                               STATUS_INVALID_ARGUMENT}),
    [](const auto& row) { return row.param.name; });

struct BadRecord {
  const char* name;
  std::string bytes;
  int size;
};

class BadRecords : public ServiceTest, public testing::WithParamInterface<BadRecord> {};

TEST_P(BadRecords, AreRefusedAndChangeNothing) {
  const Outcome outcome = commands.nms_add_message({.bytes = GetParam().bytes, .size = GetParam().size});
  EXPECT_EQ(outcome.status, STATUS_INVALID_ARGUMENT);
  EXPECT_EQ(signal_of(outcome), "");
  EXPECT_FALSE(message_exists(1));
}

BadRecord valid_with_size(const char* name, int difference) {
  std::string text = test::serialized(record_message(DIRECTION_INCOMING));
  const int size = static_cast<int>(text.size()) + difference;
  return {name, std::move(text), size};
}

INSTANTIATE_TEST_SUITE_P(EachCase, BadRecords,
                         testing::Values(valid_with_size("SizeTooSmall", -1), valid_with_size("SizeTooLarge", 1),
                                         valid_with_size("NegativeSize", -100'000), BadRecord{"NoBytes", "", 0},
                                         BadRecord{"NoJson", "message", 7}, BadRecord{"NoMessage", "{}", 2}),
                         [](const auto& row) { return row.param.name; });

TEST_F(NmsMessages, DeletedByTimeAreTheOlderUnlockedOnes) {
  const auto receive_at = [&](const char* sender, std::int64_t time_ms, bool locked) {
    Message message = incoming(sender);
    message.time_ms = time_ms;
    message.flag_k = locked ? 1 : 0;
    return receive(message);
  };
  const int old = receive_at("+491", 999, false);
  const int locked = receive_at("+491", 1, true);
  const int lonely = receive_at("+492", -5, false);
  const int just = receive_at("+491", 1000, false);
  std::filesystem::create_directories(file_root / std::to_string(old));
  EXPECT_EQ(signal_of(commands.nms_delete_message_by_time(1)),
            R"(storage_changed {"event":"deleted","revision":5,"message_ids":[1,3],"thread_ids":[1,2]})");
  EXPECT_FALSE(message_exists(old));
  EXPECT_TRUE(message_exists(locked));
  EXPECT_FALSE(message_exists(lonely));
  EXPECT_TRUE(message_exists(just));
  EXPECT_FALSE(thread_exists(2));
  EXPECT_EQ(stored_thread(1).num_g, 2);
  EXPECT_EQ(stored_thread(1).num_b, 2);
  EXPECT_FALSE(std::filesystem::exists(file_root / std::to_string(old)));

  const Outcome again = commands.nms_delete_message_by_time(1);
  EXPECT_EQ(again.status, STATUS_OK);
  EXPECT_EQ(signal_of(again), "");
}

TEST_F(NmsMessages, DeletedByAnExtremeTimeAreAllOrNone) {
  receive_from("+491");
  EXPECT_EQ(signal_of(commands.nms_delete_message_by_time(-2147483647 - 1)), "");
  EXPECT_TRUE(message_exists(1));
  EXPECT_NE(signal_of(commands.nms_delete_message_by_time(2147483647)), "");
  EXPECT_FALSE(message_exists(1));
}

TEST_F(NmsMessages, DeletedInGreatNumberAreAnnouncedWithoutTheirIds) {
  store.transact([&] {
    for (int i = 0; i < 1001; ++i) {
      StoredMessage stored{.message = incoming(), .sender_name = ""};
      stored.message.num_b = store.threads().find_or_make({"+491"}).id;
      store.messages().insert(stored);
    }
  });
  EXPECT_EQ(signal_of(commands.nms_delete_message_by_time(2147483647)),
            R"(storage_changed {"event":"deleted","revision":1,"message_ids":null,"thread_ids":[1]})");
}

TEST_F(NmsMessages, AreSentThroughTheFirstSim) {
  const Creation creation = commands.nms_send_message("sms", 0, "+491", "hello", "");
  ASSERT_EQ(creation.outcome.status, STATUS_OK);
  EXPECT_EQ(stored(creation.message_id).num_h, 0);
  EXPECT_EQ(stored(creation.message_id).num_f, DELIVERY_QUEUED);
  EXPECT_EQ(network.send_requests, 1);
  EXPECT_EQ(commands.nms_send_message("fax", 0, "+491", "hello", "").outcome.status, STATUS_INVALID_ARGUMENT);
}

TEST_F(NmsMessages, TheNetworkStatusIsPassedThrough) {
  send("+491");
  EXPECT_EQ(signal_of(commands.nms_update_message_network_status(1, -403)),
            R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(1).networkStatus, -403);
  const Outcome again = commands.nms_update_message_network_status(1, -403);
  EXPECT_EQ(again.status, STATUS_OK);
  EXPECT_EQ(signal_of(again), "");
  EXPECT_EQ(commands.nms_update_message_network_status(UNKNOWN_ID, 1).status, STATUS_NO_RECORD);
}

}  // namespace
}  // namespace msg_consumer::service
