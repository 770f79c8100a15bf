// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer/msg-consumer-client.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "rows.hpp"
#include "unit/store/public-records.hpp"
#include "unit/store/sample-records.hpp"

namespace msg_consumer::test {
namespace {

constexpr const char* TEXT = "a text that is too long for a short string";
constexpr const char* PATH = "/tmp/a file that is too far away to be found";
constexpr int NOT_YET = -1;
constexpr int UNSET = -7;

void on_event(const char* /*data*/, void* /*user_data*/) {}

template <typename Public>
Public* zeroed() {
  return static_cast<Public*>(std::calloc(1, sizeof(Public)));  // NOLINT(cppcoreguidelines-no-malloc)
}

template <typename Public>
bool is_zero(const Public& record) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&record);
  return std::all_of(bytes, bytes + sizeof record, [](unsigned char byte) { return byte == 0; });
}

/// A change: one command to the service, on a connection that stands.
FaultRow change(const char* name, std::function<int(Device&)> call, std::set<int> refusals = {-2}) {
  return {.name = name,
          .call = std::move(call),
          .refusals = std::move(refusals),
          .prepare = [](Device&) { ASSERT_EQ(msg_consumer_connect(), 0); },
          .reaches_service = true};
}

/// A change that makes a message; `call` is given the place of its id.
FaultRow creation(const char* name, const std::function<int(int*)>& call, std::set<int> refusals = {-2}) {
  auto id = std::make_shared<int>();
  FaultRow row = change(
      name, [=](Device&) { return call(id.get()); }, std::move(refusals));
  row.prepare = [=](Device&) {
    ASSERT_EQ(msg_consumer_connect(), 0);
    *id = UNSET;
  };
  row.finish = [=](Device&, int status) { EXPECT_EQ(*id, status == 0 ? Device::NEW_ID : UNSET); };
  return row;
}

/// A query into a zero-filled record.
template <typename Public>
FaultRow record_query(const char* name, std::function<int(Device&, Public*)> call, void (*release)(Public**)) {
  auto record = std::make_shared<Public*>();
  return {.name = name,
          .call = [=](Device& device) { return call(device, *record); },
          .prepare = [=](Device&) { *record = zeroed<Public>(); },
          .finish =
              [=](Device&, int status) {
                EXPECT_EQ(is_zero(**record), status != 0);
                release(record.get());
                EXPECT_EQ(*record, nullptr);
              }};
}

/// A query that appends two records to a list that holds an empty one.
template <typename Public>
FaultRow list_query(const char* name, std::function<int(Device&, msg_list_handle_t*)> call,
                    void (*release)(msg_list_handle_t**)) {
  auto list = std::make_shared<msg_list_handle_t*>();
  return {.name = name,
          .call = [=](Device& device) { return call(device, *list); },
          .prepare =
              [=](Device&) {
                *list = zeroed<msg_list_handle_t>();
                (*list)->list = g_slist_append(nullptr, zeroed<Public>());
              },
          .finish =
              [=](Device&, int status) {
                EXPECT_EQ(g_slist_length((*list)->list), status == 0 ? 3U : 1U);
                release(list.get());
                EXPECT_EQ(*list, nullptr);
              }};
}

/// A release, of what `make` brings. It needs no memory at all.
template <typename Public>
FaultRow release_row(const char* name, std::function<void(Device&, Public*&)> make, void (*release)(Public**)) {
  auto record = std::make_shared<Public*>();
  return {.name = name,
          .call =
              [=](Device&) {
                release(record.get());
                return 0;
              },
          .refusals = {},
          .prepare = [=](Device& device) { make(device, *record); },
          .finish = [=](Device&, int) { EXPECT_EQ(*record, nullptr); }};
}

template <typename Public>
FaultRow release_row(const char* name, std::function<void(Device&, Public*&)> make, void (*release)(Public*)) {
  FaultRow row = release_row<Public>(name, make, static_cast<void (*)(Public**)>(nullptr));
  auto record = std::make_shared<Public*>();
  row.call = [=](Device&) {
    release(*record);
    return 0;
  };
  row.prepare = [=](Device& device) { make(device, *record); };
  row.finish = nullptr;
  return row;
}

/// Makes what a query fills.
template <typename Public>
std::function<void(Device&, Public*&)> filled(std::function<int(Device&, Public*)> query) {
  return [=](Device& device, Public*& record) {
    record = zeroed<Public>();
    ASSERT_EQ(query(device, record), 0);
  };
}

int get_message(Device& device, msg_message_item_t* out) { return msg_consumer_get_message(device.message, 0, 0, out); }
int get_thread(Device& device, msg_thread_view_t* out) { return msg_consumer_get_thread_view(device.thread, out); }
int get_conversation(Device& device, msg_conversation_view_t* out) {
  return msg_consumer_get_conversation_view(device.message, out);
}
int get_threads(Device&, msg_list_handle_t* out) { return msg_consumer_get_thread_view_list(out); }
int get_conversations(Device& device, msg_list_handle_t* out) {
  return msg_consumer_get_conversation_view_list(device.thread, out);
}
int get_addresses(Device& device, msg_list_handle_t* out) { return msg_consumer_get_address_list(device.thread, out); }
int get_messages(Device& device, msg_list_handle_t* out) {
  std::string keyword = "the body of the";
  msg_list_condition_t condition = {};
  condition.thread_id = device.thread;
  condition.keyword = keyword.data();
  return msg_consumer_get_message_list(out, &condition);
}
int get_meta(Device& device, msg_nms_msg_meta_data_t* out) {
  return msg_consumer_nms_get_msg_meta(device.message, Device::OBJECT, out);
}
int get_uncorrelated(Device&, msg_list_handle_t* out) {
  return msg_consumer_nms_get_uncorrelated_msg_meta_list("correlated with nothing", 0, 1, true, out);
}
int get_sync_required(Device&, msg_list_handle_t* out) {
  return msg_consumer_nms_get_sync_required_msg_meta_list(true, out);
}
int get_download_required(Device&, msg_list_handle_t* out) {
  return msg_consumer_nms_get_download_required_msg_meta_list(out);
}
int get_subscription(Device&, msg_nms_mssi_info_t* out) { return msg_consumer_nms_get_mssi_info(out); }

// Those that the interface has no pointer-clearing release for.
void free_meta(msg_nms_msg_meta_data_t** meta) { msg_consumer_free_nms_msg_meta_item(std::exchange(*meta, nullptr)); }
void free_subscription(msg_nms_mssi_info_t** info) { msg_consumer_free_nms_mssi_info(std::exchange(*info, nullptr)); }

msg_nms_content_meta_t* new_content_meta() {
  auto* const meta = zeroed<msg_nms_content_meta_t>();
  meta->text_3 = g_strdup(TEXT);
  return meta;
}
msg_content_item_t* new_content() {
  auto* const content = zeroed<msg_content_item_t>();
  content->text_7 = g_strdup(PATH);
  content->nms_content_meta = new_content_meta();
  return content;
}

std::vector<FaultRow> connection_rows() {
  const auto connected = [](Device&) { ASSERT_EQ(msg_consumer_connect(), 0); };
  const auto disconnected = [](Device&) { msg_consumer_disconnect(); };
  const auto unsubscribed = [](Device&) { msg_consumer_event_unsubscribe(0, on_event); };
  const auto subscribed = [](Device&) { ASSERT_EQ(msg_consumer_event_subscribe(0, on_event, nullptr), 0); };
  return {
      // -1: the preference cannot be read.
      {.name = "msg_consumer_connect",
       .call = [](Device&) { return msg_consumer_connect(); },
       .refusals = {-2, -1},
       .prepare = disconnected},
      {.name = "msg_consumer_connect",
       .call = [](Device&) { return msg_consumer_connect(); },
       .clean = NOT_YET,
       .prepare =
           [=](Device& device) {
             disconnected(device);
             device.write_preferences("consumer_preference_int_consumer_status=0\n");
           },
       .finish = [](Device& device, int) { device.write_preferences(); }},
      {.name = "msg_consumer_disconnect",
       .call = [](Device&) { return msg_consumer_disconnect(); },
       .prepare = connected},
      {.name = "msg_consumer_event_subscribe",
       .call = [](Device&) { return msg_consumer_event_subscribe(0, on_event, nullptr); },
       .prepare = unsubscribed,
       .finish = [](Device&,
                    int status) { EXPECT_EQ(msg_consumer_event_unsubscribe(0, on_event), status == 0 ? 0 : -1); }},
      {.name = "msg_consumer_event_unsubscribe",
       .call = [](Device&) { return msg_consumer_event_unsubscribe(0, on_event); },
       .prepare = subscribed},
  };
}

// -1: the preference that allows MMS, or a record's serialised form.
std::vector<FaultRow> change_rows() {
  return {
      change("msg_consumer_read_message", [](Device& device) { return msg_consumer_read_message(device.message); }),
      change("msg_consumer_delete_message", [](Device& device) { return msg_consumer_delete_message(device.message); }),
      creation("msg_consumer_send_message",
               [](int* id) { return msg_consumer_send_message(0, Device::PARTICIPANT, TEXT, 1, id); }),
      creation("msg_consumer_send_mms",
               [](int* id) { return msg_consumer_send_mms(0, Device::PARTICIPANT, TEXT, PATH, 1, id); }, {-2, -1}),
      change("msg_consumer_resend_message", [](Device& device) { return msg_consumer_resend_message(device.message); }),
      change("msg_consumer_restore_block_message",
             [](Device& device) { return msg_consumer_restore_block_message(device.message); }),
      change("msg_consumer_store_message", [](Device& device) { return msg_consumer_store_message(device.message); }),
      change("msg_consumer_update_retrieve_mms_message",
             [](Device& device) { return msg_consumer_update_retrieve_mms_message(device.message); }),
      change("msg_consumer_read_thread_message",
             [](Device& device) { return msg_consumer_read_thread_message(device.thread); }),
      change("msg_consumer_delete_thread", [](Device& device) { return msg_consumer_delete_thread(device.thread); }),
      change("msg_consumer_delete_threads",
             [](Device& device) {
               const int ids[] = {device.thread, device.thread};
               return msg_consumer_delete_threads(ids, 2);
             }),
      change("msg_consumer_set_active_thread_id",
             [](Device& device) { return msg_consumer_set_active_thread_id(device.thread); }),
      change("msg_consumer_update_group_chat_address",
             [](Device& device) { return msg_consumer_update_group_chat_address(device.thread); }),
      change("msg_consumer_get_content_file",
             [](Device& device) { return msg_consumer_get_content_file(device.message, PATH); }),
      change("msg_consumer_send_content_file",
             [](Device& device) { return msg_consumer_send_content_file(device.message, PATH); }),
      change("msg_consumer_send_show_on_device",
             [](Device& device) { return msg_consumer_send_show_on_device(device.message); }),
      change("msg_consumer_send_change_sms_application_request",
             [](Device&) { return msg_consumer_send_change_sms_application_request(true); }),
  };
}

std::vector<FaultRow> query_rows() {
  auto thread = std::make_shared<int>();
  return {
      opening(
          record_query<msg_message_item_t>("msg_consumer_get_message", get_message, msg_consumer_free_message_info)),
      record_query<msg_thread_view_t>("msg_consumer_get_thread_view", get_thread, msg_consumer_free_thread_info),
      record_query<msg_conversation_view_t>("msg_consumer_get_conversation_view", get_conversation,
                                            msg_consumer_free_conversation_info),
      list_query<msg_thread_view_t>("msg_consumer_get_thread_view_list", get_threads, msg_consumer_free_thread_list),
      list_query<msg_conversation_view_t>("msg_consumer_get_conversation_view_list", get_conversations,
                                          msg_consumer_free_conversation_list),
      list_query<msg_address_item_t>("msg_consumer_get_address_list", get_addresses, msg_consumer_free_address_list),
      list_query<msg_message_item_t>("msg_consumer_get_message_list", get_messages, msg_consumer_free_message_list),
      {.name = "msg_consumer_get_thread_id_by_address",
       .call = [=](Device&) { return msg_consumer_get_thread_id_by_address(Device::PARTICIPANT, thread.get()); },
       .prepare = [=](Device&) { *thread = UNSET; },
       .finish = [=](Device& device, int status) { EXPECT_EQ(*thread, status == 0 ? device.thread + 1 : UNSET); }},
  };
}

std::vector<FaultRow> network_store_message_rows() {
  auto type = std::make_shared<int>();
  auto network_status = std::make_shared<int>();
  auto message = std::make_shared<Message>(sample<Message>());
  auto record = std::make_shared<PublicMessage>(*message);
  return {
      // The record's texts are the message's.
      change("msg_consumer_nms_add_message",
             [record, message](Device&) { return msg_consumer_nms_add_message(&record->record); }, {-2, -1}),
      change("msg_consumer_nms_read_message",
             [](Device& device) { return msg_consumer_nms_read_message(device.message); }),
      {.name = "msg_consumer_nms_get_message_network_status",
       .call =
           [=](Device& device) {
             return msg_consumer_nms_get_message_network_status(device.message, type.get(), network_status.get());
           },
       .prepare = [=](Device&) { *type = *network_status = UNSET; },
       .finish =
           [=](Device&, int status) {
             EXPECT_EQ(*type, status == 0 ? sample<Message>().subType : UNSET);
             EXPECT_EQ(*network_status, status == 0 ? sample<Message>().networkStatus : UNSET);
           }},
      change("msg_consumer_nms_update_message_network_status",
             [](Device& device) { return msg_consumer_nms_update_message_network_status(device.message, 3); }),
      change("msg_consumer_nms_delete_message",
             [](Device& device) { return msg_consumer_nms_delete_message(device.message); }),
      change("msg_consumer_nms_delete_message_by_time",
             [](Device&) { return msg_consumer_nms_delete_message_by_time(1); }),
      creation("msg_consumer_nms_send_message",
               [](int* id) { return msg_consumer_nms_send_message(0, Device::PARTICIPANT, TEXT, id); }),
      creation("msg_consumer_nms_send_mms",
               [](int* id) { return msg_consumer_nms_send_mms(0, Device::PARTICIPANT, TEXT, PATH, id); }, {-2, -1}),
      change("msg_consumer_nms_resend_message",
             [](Device& device) { return msg_consumer_nms_resend_message(device.message); }),
      change("msg_consumer_nms_download_mms",
             [](Device& device) { return msg_consumer_nms_download_mms(device.message); }),
      change("msg_consumer_nms_handle_resetbox", [](Device&) { return msg_consumer_nms_handle_resetbox(); }),
  };
}

std::vector<FaultRow> metadata_rows() {
  auto meta = std::make_shared<NmsMsgMeta>(sample<NmsMsgMeta>());
  auto exists = std::make_shared<bool>();
  return {
      change("msg_consumer_nms_add_msg_meta",
             [=](Device&) {
               const msg_nms_msg_meta_data_t record = public_record(*meta);
               return msg_consumer_nms_add_msg_meta(&record);
             },
             {-2, -1}),
      change("msg_consumer_nms_update_msg_meta",
             [=](Device& device) {
               const msg_nms_msg_meta_data_t record = public_record(*meta);
               return msg_consumer_nms_update_msg_meta(device.message, Device::OBJECT, &record);
             },
             {-2, -1}),
      change("msg_consumer_nms_delete_msg_meta",
             [](Device& device) { return msg_consumer_nms_delete_msg_meta(device.message, Device::OBJECT); }),
      change("msg_consumer_nms_delete_invalid_msg_meta",
             [](Device&) { return msg_consumer_nms_delete_invalid_msg_meta(); }),
      record_query<msg_nms_msg_meta_data_t>("msg_consumer_nms_get_msg_meta", get_meta, free_meta),
      {.name = "msg_consumer_nms_check_download_required_msg_exist",
       .call = [=](Device&) { return msg_consumer_nms_check_download_required_msg_exist(exists.get()); },
       .prepare = [=](Device&) { *exists = false; },
       .finish = [=](Device&, int status) { EXPECT_EQ(*exists, status == 0); }},
      list_query<msg_nms_msg_meta_data_t>("msg_consumer_nms_get_uncorrelated_msg_meta_list", get_uncorrelated,
                                          msg_consumer_free_nms_msg_meta_list),
      list_query<msg_nms_msg_meta_data_t>("msg_consumer_nms_get_sync_required_msg_meta_list", get_sync_required,
                                          msg_consumer_free_nms_msg_meta_list),
      list_query<msg_nms_msg_meta_data_t>("msg_consumer_nms_get_download_required_msg_meta_list", get_download_required,
                                          msg_consumer_free_nms_msg_meta_list),
      record_query<msg_nms_mssi_info_t>("msg_consumer_nms_get_mssi_info", get_subscription, free_subscription),
      change("msg_consumer_nms_update_mssi_info",
             [](Device&) {
               const msg_nms_mssi_info_t info = {7, const_cast<char*>(TEXT)};
               return msg_consumer_nms_update_mssi_info(&info);
             }),
      {.name = "msg_consumer_nms_set_delay_noti_event",
       .call = [](Device&) { return msg_consumer_nms_set_delay_noti_event(3); },
       .refusals = {-1}},
  };
}

std::vector<FaultRow> release_rows() {
  return {
      release_row<msg_message_item_t>("msg_consumer_free_message_info", filled<msg_message_item_t>(get_message),
                                      msg_consumer_free_message_info),
      release_row<msg_list_handle_t>("msg_consumer_free_message_list", filled<msg_list_handle_t>(get_messages),
                                     msg_consumer_free_message_list),
      release_row<msg_thread_view_t>("msg_consumer_free_thread_info", filled<msg_thread_view_t>(get_thread),
                                     msg_consumer_free_thread_info),
      release_row<msg_list_handle_t>("msg_consumer_free_thread_list", filled<msg_list_handle_t>(get_threads),
                                     msg_consumer_free_thread_list),
      release_row<msg_conversation_view_t>("msg_consumer_free_conversation_info",
                                           filled<msg_conversation_view_t>(get_conversation),
                                           msg_consumer_free_conversation_info),
      release_row<msg_list_handle_t>("msg_consumer_free_conversation_list",
                                     filled<msg_list_handle_t>(get_conversations), msg_consumer_free_conversation_list),
      release_row<msg_list_handle_t>("msg_consumer_free_address_list", filled<msg_list_handle_t>(get_addresses),
                                     msg_consumer_free_address_list),
      release_row<msg_list_condition_t>(
          "msg_consumer_free_condition_info",
          [](Device&, msg_list_condition_t*& condition) {
            condition = zeroed<msg_list_condition_t>();
            condition->keyword = g_strdup(TEXT);
          },
          msg_consumer_free_condition_info),
      release_row<msg_content_item_t>(
          "msg_consumer_free_content_item", [](Device&, msg_content_item_t*& content) { content = new_content(); },
          msg_consumer_free_content_item),
      release_row<msg_nms_msg_meta_data_t>("msg_consumer_free_nms_msg_meta_item",
                                           filled<msg_nms_msg_meta_data_t>(get_meta),
                                           msg_consumer_free_nms_msg_meta_item),
      release_row<msg_list_handle_t>("msg_consumer_free_nms_msg_meta_list", filled<msg_list_handle_t>(get_uncorrelated),
                                     msg_consumer_free_nms_msg_meta_list),
      release_row<msg_nms_content_meta_t>(
          "msg_consumer_free_nms_content_meta_item",
          [](Device&, msg_nms_content_meta_t*& meta) { meta = new_content_meta(); },
          msg_consumer_free_nms_content_meta_item),
      release_row<msg_nms_mssi_info_t>("msg_consumer_free_nms_mssi_info", filled<msg_nms_mssi_info_t>(get_subscription),
                                       msg_consumer_free_nms_mssi_info),
  };
}

FaultRow copy_row() {
  auto source = std::make_shared<msg_content_item_t*>();
  auto target = std::make_shared<msg_content_item_t*>();
  return {.name = "msg_consumer_copy_content",
          .call = [=](Device&) { return msg_consumer_copy_content(*source, *target); },
          .clean = 1,
          .refusals = {},
          .prepare =
              [=](Device&) {
                *source = new_content();
                *target = zeroed<msg_content_item_t>();
              },
          .finish =
              [=](Device&, int status) {
                // A copy that fails leaves the source's metadata in the target, for nobody to release there.
                EXPECT_EQ((*target)->nms_content_meta == (*source)->nms_content_meta, status != 1);
                if (status != 1) (*target)->nms_content_meta = nullptr;
                msg_consumer_free_content_item(*source);
                msg_consumer_free_content_item(*target);
              }};
}

}  // namespace

std::vector<FaultRow> c_rows() {
  std::vector<FaultRow> rows = {copy_row()};
  for (const auto& more : {connection_rows(), change_rows(), query_rows(), network_store_message_rows(),
                           metadata_rows(), release_rows()}) {
    rows.insert(rows.end(), more.begin(), more.end());
  }
  return rows;
}

}  // namespace msg_consumer::test
