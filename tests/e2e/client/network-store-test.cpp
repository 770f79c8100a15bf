// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <thread>

#include "client-with-service.hpp"

using namespace msg_consumer::test;
using testing::ElementsAre;

namespace {

using MetaList = Owner<msg_list_handle_t, msg_consumer_free_nms_msg_meta_list>;

/// An incoming message as the network store would hand it in. The texts must outlive it.
class IncomingMessage {
 public:
  IncomingMessage(std::string sender, std::string text, std::string object_id)
      : _sender(std::move(sender)), _text(std::move(text)), _object_id(std::move(object_id)) {
    _address.num_2 = 1;
    _address.num_3 = 1;
    _address.address = _sender.data();
    _message.num_2 = 1;
    _message.text_3 = _text.data();
    _message.num_5 = 1;
    _message.time_sec = 1'700'000'000;
    _message.text_17 = _empty.data();
    _message.text_18 = _sender.data();
    _message.address_list = g_slist_append(nullptr, &_address);
    _meta.meta_str1 = _object_id.data();
    _meta.meta_str2 = _object_id.data();
    _meta.meta_str3 = _empty.data();
    _meta.meta_str4 = _empty.data();
    _meta.meta_int1 = 1;
    _meta.meta_int2 = 1;
    if (!_object_id.empty()) _message.nms_meta = &_meta;
  }
  ~IncomingMessage() { g_slist_free(_message.address_list); }
  IncomingMessage(const IncomingMessage&) = delete;
  IncomingMessage& operator=(const IncomingMessage&) = delete;

  msg_message_item_t* operator->() { return &_message; }
  int add() { return msg_consumer_nms_add_message(&_message); }

 private:
  std::string _sender, _text, _object_id, _empty;
  msg_address_item_t _address = {};
  msg_nms_msg_meta_data_t _meta = {};
  msg_message_item_t _message = {};
};

class NetworkStore : public ClientWithService {
 protected:
  static std::vector<int> message_ids(bool unread_only = false) {
    MessageList list;
    msg_list_condition_t condition = {};
    condition.flag_5 = 1;
    condition.flag_6 = unread_only ? 1 : 0;
    msg_consumer_get_message_list(list.get(), &condition);
    std::vector<int> ids;
    for (const auto* message : elements<msg_message_item_t>(list)) ids.push_back(message->msg_id);
    return ids;
  }

  template <typename Query>
  static std::vector<std::string> object_ids(Query query) {
    MetaList list;
    query(list.get());
    std::vector<std::string> ids;
    for (const auto* meta : elements<msg_nms_msg_meta_data_t>(list)) ids.emplace_back(meta->meta_str1);
    return ids;
  }
};

TEST_F(NetworkStore, AddsAThousandMessagesWhileAReaderListsThem) {
  connect();
  std::atomic<bool> done = false;
  std::atomic<bool> orderly = true;
  std::thread reader([&] {
    std::size_t seen = 0;
    do {
      const auto ids = message_ids();
      if (ids.size() < seen || !std::is_sorted(ids.begin(), ids.end())) orderly = false;
      seen = ids.size();
    } while (!done);
  });
  for (int i = 0; i < 1000; ++i) {
    IncomingMessage message("+49170" + std::to_string(i % 10), "text " + std::to_string(i),
                            "object" + std::to_string(i));
    message->time_sec += i;
    ASSERT_EQ(message.add(), 0);
  }
  done = true;
  reader.join();
  EXPECT_TRUE(orderly) << "oldest first, and never fewer than before";
  EXPECT_EQ(message_ids().size(), 1000U);
  EXPECT_EQ(message_ids(true).size(), 1000U) << "incoming messages are unread";
  ThreadList threads;
  ASSERT_EQ(msg_consumer_get_thread_view_list(threads.get()), 0);
  const auto views = elements<msg_thread_view_t>(threads);
  ASSERT_EQ(views.size(), 10U);
  for (const auto* view : views) {
    EXPECT_EQ(view->num_6, 100);
    EXPECT_EQ(view->num_7, 100);
  }
  EXPECT_STREQ(views[0]->text_3, "text 999");
  const auto all =
      object_ids([](msg_list_handle_t* list) { return msg_consumer_nms_get_sync_required_msg_meta_list(false, list); });
  EXPECT_EQ(all.size(), 1000U);
}

TEST_F(NetworkStore, ShrinksItsListsAsTheMetadataIsUpdated) {
  connect();
  for (const char* object : {"a", "b"}) {
    IncomingMessage message("+49170", std::string("text ") + object, object);
    ASSERT_EQ(message.add(), 0);
  }
  const auto uncorrelated = [] {
    return object_ids(
        [](msg_list_handle_t* list) { return msg_consumer_nms_get_uncorrelated_msg_meta_list("", 0, 1, false, list); });
  };
  const auto to_sync = [] {
    return object_ids(
        [](msg_list_handle_t* list) { return msg_consumer_nms_get_sync_required_msg_meta_list(false, list); });
  };
  const auto to_download = [] {
    return object_ids(
        [](msg_list_handle_t* list) { return msg_consumer_nms_get_download_required_msg_meta_list(list); });
  };
  EXPECT_THAT(uncorrelated(), ElementsAre("a", "b"));
  EXPECT_THAT(to_sync(), ElementsAre("a", "b"));
  EXPECT_THAT(to_download(), ElementsAre("a", "b"));
  bool exist = false;
  EXPECT_EQ(msg_consumer_nms_check_download_required_msg_exist(&exist), 0);
  EXPECT_TRUE(exist);

  for (const char* object : {"a", "b"}) {
    auto* const meta = static_cast<msg_nms_msg_meta_data_t*>(std::calloc(1, sizeof(msg_nms_msg_meta_data_t)));
    ASSERT_EQ(msg_consumer_nms_get_msg_meta(0, object, meta), 0);
    meta->meta_int1 = 0;
    meta->meta_int2 = 3;
    meta->meta_flag3 = true;
    EXPECT_EQ(msg_consumer_nms_update_msg_meta(meta->msg_id, object, meta), 0);
    msg_consumer_free_nms_msg_meta_item(meta);
    if (std::string(object) == "a") {
      EXPECT_THAT(uncorrelated(), ElementsAre("b"));
      EXPECT_THAT(to_sync(), ElementsAre("b"));
      EXPECT_THAT(to_download(), ElementsAre("b"));
    }
  }
  EXPECT_THAT(uncorrelated(), testing::IsEmpty());
  EXPECT_THAT(to_sync(), testing::IsEmpty());
  EXPECT_THAT(to_download(), testing::IsEmpty());
  EXPECT_EQ(msg_consumer_nms_check_download_required_msg_exist(&exist), 0);
  EXPECT_FALSE(exist);
}

TEST_F(NetworkStore, KeepsTheSubscriptionInFull64Bits) {
  connect();
  auto* info = static_cast<msg_nms_mssi_info_t*>(std::calloc(1, sizeof(msg_nms_mssi_info_t)));
  EXPECT_EQ(msg_consumer_nms_get_mssi_info(info), MSG_CONSUMER_ERROR_NO_DATA);
  std::string token = "token";
  const msg_nms_mssi_info_t sent = {9223372036854775809ULL, token.data()};
  EXPECT_EQ(msg_consumer_nms_update_mssi_info(&sent), 0);
  ASSERT_EQ(msg_consumer_nms_get_mssi_info(info), 0);
  EXPECT_EQ(info->noti_index, 9223372036854775809ULL);
  EXPECT_STREQ(info->restart_token, "token");
  msg_consumer_free_nms_mssi_info(info);
}

TEST_F(NetworkStore, DropsMetadataAndSubscriptionButNoMessagesWhenTheBoxIsReset) {
  connect();
  IncomingMessage message("+49170", "text", "object");
  ASSERT_EQ(message.add(), 0);
  std::string token = "token";
  const msg_nms_mssi_info_t sent = {1, token.data()};
  ASSERT_EQ(msg_consumer_nms_update_mssi_info(&sent), 0);
  EXPECT_EQ(msg_consumer_nms_handle_resetbox(), 0);
  EXPECT_EQ(message_ids().size(), 1U);
  msg_nms_mssi_info_t info = {};
  EXPECT_EQ(msg_consumer_nms_get_mssi_info(&info), MSG_CONSUMER_ERROR_NO_DATA);
  msg_nms_msg_meta_data_t meta = {};
  EXPECT_EQ(msg_consumer_nms_get_msg_meta(0, "object", &meta), MSG_CONSUMER_ERROR_NO_DATA);
}

TEST_F(NetworkStore, RefusesARecordThatCannotBeAndStoresNothing) {
  connect();
  IncomingMessage nobody("", "text", "");
  g_slist_free(nobody->address_list);
  nobody->address_list = nullptr;
  EXPECT_EQ(nobody.add(), MSG_CONSUMER_ERROR_INVALID_PARAMETER);
  IncomingMessage strange("+49170", "text", "");
  strange->num_2 = 77;
  EXPECT_NE(strange.add(), MSG_CONSUMER_ERROR_NONE);
  IncomingMessage broken("+49170", "\xff", "");
  EXPECT_EQ(broken.add(), MSG_CONSUMER_ERROR_OPERATION_FAILED) << "it cannot be serialised";
  EXPECT_THAT(message_ids(), testing::IsEmpty());
}

TEST_F(NetworkStore, IsClosedWhereThePlatformDoesNotSupportIt) {
  write_file(folder.file("preferences.ini"), "[preferences]\nconsumer_preference_bool_numbersync_supported=false\n");
  connect();
  EXPECT_EQ(msg_consumer_nms_read_message(1), MSG_CONSUMER_ERROR_NOT_SUPPORTED);
  const int id = send("+49170", "text");
  OwnedMessage message;
  ASSERT_EQ(msg_consumer_get_message(id, 0, 0, message.get()), 0);
  EXPECT_EQ(message->nms_meta, nullptr);
}

}  // namespace
