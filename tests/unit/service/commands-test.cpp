// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include "service-test.hpp"

namespace msg_consumer::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MessageCommands : public ServiceTest {};

struct Refused {
  const char* name;
  std::function<Outcome(Commands&)> command;
};

class UnknownIds : public ServiceTest, public testing::WithParamInterface<Refused> {};

TEST_P(UnknownIds, AreAnsweredWithNoRecordAndChangeNothing) {
  const Outcome outcome = GetParam().command(commands);
  EXPECT_EQ(outcome.status, STATUS_NO_RECORD);
  EXPECT_EQ(signal_of(outcome), "");
  EXPECT_EQ(signal_of(send("+4917").outcome),
            R"(storage_changed {"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})");
}

INSTANTIATE_TEST_SUITE_P(
    EachCommand, UnknownIds,
    testing::Values(Refused{"Read", [](Commands& c) { return c.read_message(4711, 0); }},
                    Refused{"Delete", [](Commands& c) { return c.delete_message(4711, 0); }},
                    Refused{"Resend", [](Commands& c) { return c.resend_message(4711); }},
                    Refused{"Restore", [](Commands& c) { return c.restore_block_message(4711); }},
                    Refused{"Export", [](Commands& c) { return c.export_to_phone(4711); }},
                    Refused{"Retrieve", [](Commands& c) { return c.update_retrieve_mms_message(4711); }},
                    Refused{"ReadThread", [](Commands& c) { return c.read_thread(4711); }},
                    Refused{"DeleteThread", [](Commands& c) { return c.delete_thread(4711); }},
                    Refused{"DeleteThreads", [](Commands& c) { return c.delete_threads({4711}); }},
                    Refused{"SetActiveThread", [](Commands& c) { return c.set_active_thread_id(4711); }},
                    Refused{"UpdateGroupChat", [](Commands& c) { return c.update_group_chat_address(4711); }},
                    Refused{"GetContent", [](Commands& c) { return c.get_content_file(4711, "/nowhere/file"); }},
                    Refused{"SendContent", [](Commands& c) { return c.send_content_file(4711, "/nowhere/file"); }},
                    Refused{"ShowOnDevice", [](Commands& c) { return c.show_on_device(4711); }},
                    Refused{"NegativeId", [](Commands& c) { return c.read_message(-1, 0); }},
                    Refused{"Zero", [](Commands& c) { return c.delete_message(0, 0); }}),
    [](const auto& row) { return row.param.name; });

struct BadSubmission {
  const char* name;
  Submission submission;
  Status status;
};

class BadSubmissions : public ServiceTest, public testing::WithParamInterface<BadSubmission> {};

TEST_P(BadSubmissions, AreRefusedWithoutAnIdAndChangeNothing) {
  ASSERT_EQ(send("+491;+492").message_id, 1);
  for (const Creation& creation :
       {commands.send_message(GetParam().submission), commands.add_message(GetParam().submission)}) {
    EXPECT_EQ(creation.outcome.status, GetParam().status);
    EXPECT_EQ(creation.message_id, 0);
    EXPECT_EQ(signal_of(creation.outcome), "");
  }
  EXPECT_EQ(stored_thread(1).num_g, 1);
  EXPECT_FALSE(thread_exists(2));
  EXPECT_EQ(network.send_requests, 1);
}

INSTANTIATE_TEST_SUITE_P(
    EachCase, BadSubmissions,
    testing::Values(BadSubmission{"NoRecipient", {"sms", 0, "", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"BlankRecipient", {"sms", 0, " ", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"EmptyAmongRecipients", {"sms", 0, "+49;;+48", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"OnlyPunctuation", {"sms", 0, "(-)", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"UnknownType", {"fax", 0, "+49", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"TypeInCapitals", {"SMS", 0, "+49", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"UnknownThread", {"sms", 4711, "", "t", "", 1}, STATUS_NO_RECORD},
                    BadSubmission{"OtherRecipients", {"sms", 1, "+493", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"FewerRecipients", {"sms", 1, "+491", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"MoreRecipients", {"sms", 1, "+491;+492;+493", "t", "", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"SmsWithFile", {"sms", 0, "+49", "t", "/etc/hostname", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"RelativePath", {"mms", 0, "+49", "t", "file", 1}, STATUS_INVALID_ARGUMENT},
                    BadSubmission{"MissingFile", {"mms", 0, "+49", "t", "/nowhere/file", 1}, STATUS_FILE_NOT_FOUND}),
    [](const auto& row) { return row.param.name; });

TEST_F(MessageCommands, ASentMessageIsStoredWithAllItsFields) {
  const Creation creation = commands.send_message({"sms", 0, "+49 170 1; ann@example.org", "hello", "", 2});
  ASSERT_EQ(creation.outcome.status, STATUS_OK);
  EXPECT_EQ(signal_of(creation.outcome),
            R"(storage_changed {"event":"added","revision":1,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(network.send_requests, 1);

  const Message message = stored(creation.message_id);
  EXPECT_EQ(message.num_b, 1);
  EXPECT_EQ(message.num_c, TYPE_SMS);
  EXPECT_EQ(message.str_d, "hello");
  EXPECT_EQ(message.num_e, DIRECTION_OUTGOING);
  EXPECT_EQ(message.num_f, DELIVERY_QUEUED);
  EXPECT_EQ(message.num_h, 2);
  EXPECT_EQ(message.time_ms, clock.now);
  EXPECT_EQ(message.flag_j, 1);
  EXPECT_THAT(message.contents, IsEmpty());
  ASSERT_EQ(message.addresses.size(), 2U);
  EXPECT_EQ(message.addresses[0].address, "+49 170 1");
  EXPECT_EQ(message.addresses[0].num_b, 1);
  EXPECT_EQ(message.addresses[0].num_c, ROLE_TO);
  EXPECT_EQ(message.addresses[1].address, "ann@example.org");
  EXPECT_EQ(message.addresses[1].num_b, 2);
  EXPECT_NE(message.addresses[0].num_a, message.addresses[1].num_a);

  const Thread thread = stored_thread(1);
  EXPECT_EQ(thread.num_g, 1);
  EXPECT_EQ(thread.num_k, 2);
  EXPECT_EQ(thread.str_m, "+49 170 1, ann@example.org");
  EXPECT_EQ(thread.str_n, "hello");
  EXPECT_EQ(thread.num_d, DIRECTION_OUTGOING);
  EXPECT_EQ(thread.num_h, 2);
  EXPECT_EQ(thread.time_ms, clock.now);
}

TEST_F(MessageCommands, ADraftIsStoredAndNotSent) {
  const Creation creation = commands.add_message(submission("+4917", "later"));
  ASSERT_EQ(creation.outcome.status, STATUS_OK);
  EXPECT_EQ(network.send_requests, 0);
  const Message message = stored(creation.message_id);
  EXPECT_EQ(message.num_e, DIRECTION_DRAFT);
  EXPECT_EQ(message.num_f, DELIVERY_NONE);
  EXPECT_EQ(message.flag_j, 1);
  EXPECT_EQ(stored_thread(1).flag_e, 1);
}

TEST_F(MessageCommands, SizesAreBounded) {
  EXPECT_EQ(send("+4917", std::string(1024 * 1024, 'x')).outcome.status, STATUS_OK);
  EXPECT_EQ(send("+4917", std::string(1024 * 1024 + 1, 'x')).outcome.status, STATUS_TOO_MUCH);
  std::string recipients = "+491000";
  for (int number = 1001; number < 2000; ++number) {
    recipients += ";+49" + std::to_string(number);
  }
  EXPECT_EQ(send(recipients).outcome.status, STATUS_OK);
  EXPECT_EQ(send(recipients + ";+492000").outcome.status, STATUS_TOO_MUCH);
  EXPECT_EQ(send(std::string(1024 * 1024 + 1, '1')).outcome.status, STATUS_TOO_MUCH);
}

TEST_F(MessageCommands, AnEmptyTextMayBeSent) {
  const Creation creation = send("+4917", "");
  ASSERT_EQ(creation.outcome.status, STATUS_OK);
  EXPECT_EQ(stored(creation.message_id).str_d, "");
}

TEST_F(MessageCommands, TheSameRecipientsShareOneThread) {
  send("+49 (170) 1;Ann@Example.org");
  send("ann@example.org;+491701;+49-170-1");
  EXPECT_EQ(stored(2).num_b, 1);
  EXPECT_EQ(stored(2).addresses.size(), 2U);
  send("+491701");
  EXPECT_EQ(stored(3).num_b, 2);
}

TEST_F(MessageCommands, AThreadAloneNamesTheRecipients) {
  send("+491;+492");
  ASSERT_EQ(send("", "again", 1).outcome.status, STATUS_OK);
  const Message message = stored(2);
  ASSERT_EQ(message.addresses.size(), 2U);
  EXPECT_EQ(message.addresses[0].address, "+491");
  EXPECT_EQ(message.addresses[1].address, "+492");
  EXPECT_EQ(send("+492; +49 1", "and again", 1).outcome.status, STATUS_OK);
}

TEST_F(MessageCommands, AMessageInAGroupChatIsAGroupChatMessage) {
  const int thread = make_group({"+491", "+492"});
  ASSERT_EQ(send("", "hi", thread).outcome.status, STATUS_OK);
  EXPECT_EQ(stored(1).num_c, TYPE_GROUP_CHAT);
  EXPECT_EQ(stored_thread(thread).flag_p, 1);
  EXPECT_EQ(stored_thread(thread).str_m, "Friends");
  // The same people outside the chat are another thread.
  send("+491;+492");
  EXPECT_NE(stored(2).num_b, thread);
}

TEST_F(MessageCommands, ReadingAnUnreadMessageIsAnnouncedOnce) {
  const int id = receive_from("+4917");
  ASSERT_EQ(stored_thread(1).num_b, 1);
  EXPECT_EQ(signal_of(commands.read_message(id, 0)),
            R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(id).flag_j, 1);
  EXPECT_EQ(stored_thread(1).num_b, 0);

  const Outcome again = commands.read_message(id, 0);
  EXPECT_EQ(again.status, STATUS_OK);
  EXPECT_EQ(signal_of(again), "");
}

TEST_F(MessageCommands, DeletingTheLastMessageDeletesTheThread) {
  send("+4917");
  send("+4917");
  EXPECT_EQ(signal_of(commands.delete_message(1, 0)),
            R"(storage_changed {"event":"deleted","revision":3,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_FALSE(message_exists(1));
  EXPECT_EQ(stored_thread(1).num_g, 1);
  EXPECT_EQ(commands.delete_message(2, 0).status, STATUS_OK);
  EXPECT_FALSE(thread_exists(1));
}

TEST_F(MessageCommands, IdsAreNeverUsedTwice) {
  send("+4917");
  commands.delete_message(1, 0);
  EXPECT_EQ(send("+4917").message_id, 2);
  EXPECT_EQ(stored(2).num_b, 2);
}

TEST_F(MessageCommands, ALockedMessageIsNotDeleted) {
  const int id = receive_from("+4917");
  edit(id, [](Message& message) { message.flag_k = 1; });
  EXPECT_EQ(commands.delete_message(id, 0).status, STATUS_NOT_APPLICABLE);
  EXPECT_TRUE(message_exists(id));
}

TEST_F(MessageCommands, AFailedMessageIsSentAgain) {
  const int id = send("+4917").message_id;
  edit(id, [](Message& message) { message.num_f = DELIVERY_FAILED; });
  ASSERT_EQ(stored_thread(1).flag_f, 1);
  clock.now += 5000;
  EXPECT_EQ(signal_of(commands.resend_message(id)),
            R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(id).num_f, DELIVERY_QUEUED);
  EXPECT_EQ(stored(id).time_ms, clock.now);
  EXPECT_EQ(stored_thread(1).flag_f, 0);
  EXPECT_EQ(network.send_requests, 2);
}

TEST_F(MessageCommands, ADraftIsSent) {
  const int id = commands.add_message(submission("+4917")).message_id;
  ASSERT_EQ(commands.resend_message(id).status, STATUS_OK);
  EXPECT_EQ(stored(id).num_e, DIRECTION_OUTGOING);
  EXPECT_EQ(stored(id).num_f, DELIVERY_QUEUED);
  EXPECT_EQ(stored_thread(1).flag_e, 0);
  EXPECT_EQ(network.send_requests, 1);
}

struct InapplicableResend {
  const char* name;
  int direction;
  int delivery;
};

class InapplicableResends : public ServiceTest, public testing::WithParamInterface<InapplicableResend> {};

TEST_P(InapplicableResends, AreRefused) {
  const int id = send("+4917").message_id;
  edit(id, [](Message& message) {
    message.num_e = GetParam().direction;
    message.num_f = GetParam().delivery;
  });
  EXPECT_EQ(commands.resend_message(id).status, STATUS_NOT_APPLICABLE);
  EXPECT_EQ(network.send_requests, 1);
}

INSTANTIATE_TEST_SUITE_P(EachState, InapplicableResends,
                         testing::Values(InapplicableResend{"Incoming", DIRECTION_INCOMING, DELIVERY_NONE},
                                         InapplicableResend{"IncomingFailed", DIRECTION_INCOMING, DELIVERY_FAILED},
                                         InapplicableResend{"Queued", DIRECTION_OUTGOING, DELIVERY_QUEUED},
                                         InapplicableResend{"Sending", DIRECTION_OUTGOING, DELIVERY_SENDING},
                                         InapplicableResend{"Sent", DIRECTION_OUTGOING, DELIVERY_SENT},
                                         InapplicableResend{"Delivered", DIRECTION_OUTGOING, DELIVERY_DELIVERED}),
                         [](const auto& row) { return row.param.name; });

TEST_F(MessageCommands, ABlockedMessageIsRestored) {
  Message blocked = incoming();
  blocked.flag_l = 1;
  blocked.subType = SUBTYPE_BLOCKED;
  const int id = receive(blocked);
  EXPECT_EQ(signal_of(commands.restore_block_message(id)),
            R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(id).flag_l, 0);
  EXPECT_EQ(stored(id).subType, SUBTYPE_PLAIN);
  EXPECT_EQ(commands.restore_block_message(id).status, STATUS_NOT_APPLICABLE);
}

TEST_F(MessageCommands, AMessageIsExportedToThePhoneOnce) {
  const int id = receive_from("+4917");
  EXPECT_EQ(signal_of(commands.export_to_phone(id)),
            R"(store_message_result {"event":"exported","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(id).flag_r, 1);
  EXPECT_EQ(stored(id).str_s, "phone-1");
  EXPECT_EQ(commands.export_to_phone(id).status, STATUS_NOT_APPLICABLE);
}

TEST_F(MessageCommands, ANotifiedMmsIsRetrieved) {
  Message notification = incoming();
  notification.num_c = TYPE_MMS;
  notification.subType = SUBTYPE_MMS_NOTIFICATION;
  notification.num_n = RETRIEVAL_NEEDED;
  const int id = receive(notification);
  EXPECT_EQ(signal_of(commands.update_retrieve_mms_message(id)),
            R"(storage_changed {"event":"changed","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(stored(id).num_n, RETRIEVAL_RUNNING);
  EXPECT_TRUE(network.is_retrieving(id));
  EXPECT_EQ(commands.update_retrieve_mms_message(id).status, STATUS_NOT_APPLICABLE) << "it is running";

  network.retrieving.clear();
  EXPECT_EQ(commands.update_retrieve_mms_message(id).status, STATUS_OK) << "whoever ran it is gone";
  edit(id, [](Message& message) { message.num_n = RETRIEVAL_FAILED; });
  EXPECT_EQ(commands.update_retrieve_mms_message(id).status, STATUS_OK) << "it may be tried again";
  edit(id, [](Message& message) { message.num_n = RETRIEVAL_DONE; });
  EXPECT_EQ(commands.update_retrieve_mms_message(id).status, STATUS_NOT_APPLICABLE) << "it is done";
}

TEST_F(MessageCommands, APlainMessageIsNotRetrieved) {
  const int id = receive_from("+4917");
  EXPECT_EQ(commands.update_retrieve_mms_message(id).status, STATUS_NOT_APPLICABLE);
  EXPECT_THAT(network.retrieving, IsEmpty());
}

TEST_F(MessageCommands, AKeywordFindsWhatWasSent) {
  send("+4917", "Grüße aus Köln");
  ListCondition condition;
  condition.keyword = "KÖLN";
  std::vector<Message> found;
  ASSERT_EQ(db::db_get_message_list(condition, found), db::DB_OK);
  EXPECT_EQ(found.at(0).id, 1);
  commands.delete_message(1, 0);
  found.clear();
  EXPECT_EQ(db::db_get_message_list(condition, found), db::DB_NO_RECORD);
}

TEST_F(MessageCommands, DeviceRequestsAreRecordedAndNotAnnounced) {
  const int id = receive_from("+4917");
  EXPECT_EQ(signal_of(commands.show_on_device(id)), "");
  EXPECT_EQ(commands.send_change_sms_application_request(true).status, STATUS_OK);
  EXPECT_EQ(commands.send_change_sms_application_request(false).status, STATUS_OK);

  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY);
  schema::Statement requests(database.get(), "SELECT request || ' ' || argument FROM device_request ORDER BY id");
  std::vector<std::string> recorded;
  while (requests.step()) {
    recorded.emplace_back(requests.text(0));
  }
  EXPECT_THAT(recorded, ElementsAre("show_on_device 1", "send_change_sms_application_request 1",
                                    "send_change_sms_application_request 0"));
}

TEST_F(MessageCommands, OnlyTheNewestDeviceRequestsAreKept) {
  beside("INSERT INTO device_request (id, request, argument, time_ms) VALUES (1, 'old', 0, 0), (5000, 'new', 0, 0)");
  commands.send_change_sms_application_request(true);
  const schema::Database database = schema::open_database(path, SQLITE_OPEN_READONLY);
  schema::Statement count(database.get(), "SELECT count(*), min(id) FROM device_request");
  ASSERT_TRUE(count.step());
  EXPECT_EQ(count.integer(0), 2);
  EXPECT_EQ(count.integer(1), 5000);
}

TEST_F(MessageCommands, AFailureOfTheStoreLeavesNothingBehind) {
  send("+4917");
  break_the_store();
  const Creation creation = send("+4918");
  EXPECT_EQ(creation.outcome.status, STATUS_FAILED);
  EXPECT_EQ(creation.message_id, 0);
  EXPECT_FALSE(message_exists(2));
  EXPECT_FALSE(thread_exists(2));
  EXPECT_EQ(network.send_requests, 1);
  beside("DROP TRIGGER broken");
  EXPECT_EQ(signal_of(send("+4918").outcome),
            R"(storage_changed {"event":"added","revision":2,"message_ids":[2],"thread_ids":[2]})");
}

TEST_F(MessageCommands, ALockedStoreIsAnsweredAsBusy) {
  const schema::Database other = schema::open_database(path, SQLITE_OPEN_READWRITE);
  schema::Transaction transaction(other.get());
  EXPECT_EQ(send("+4917").outcome.status, STATUS_STORE_BUSY);
}

}  // namespace
}  // namespace msg_consumer::service
