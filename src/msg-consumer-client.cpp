// SPDX-License-Identifier: Apache-2.0
#include <msg-consumer/msg-consumer-client.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>
#include <vector>

#include <msg-consumer-platform/preference.h>

#include <msg-consumer-common/common_util.h>
#include <msg-consumer-common/db.h>
#include <msg-consumer-common/msg-serialize.h>
#include <msg-consumer/ipc/CContentSync.h>
#include <msg-consumer/ipc/CMessageSync.h>
#include <msg-consumer/ipc/CNmsSync.h>
#include <msg-consumer/ipc/CRequestSync.h>
#include <msg-consumer/ipc/CThreadSync.h>
#include <msg-consumer-platform/logging.hpp>
#include <msg-consumer-platform/releaser.hpp>

#include "Gates.hpp"
#include "ProxyFrame.hpp"
#include "RequestFrame.hpp"
#include "ServiceLaunch.hpp"
#include "ipc/Results.hpp"

using namespace msg_consumer;      // NOLINT(google-build-using-namespace): the C API is the namespace's C face
using namespace msg_consumer::db;  // NOLINT(google-build-using-namespace)

namespace {

// ---- Statuses ----

/// The status code for a result of the proxy, the request classes, the store or the service.
int status_of(int result) {
  switch (result) {
    case RESULT_OK:
      return MSG_CONSUMER_ERROR_NONE;
    case RESULT_NO_RESOURCE:
      return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
    case RESULT_INVALID_ARGUMENT:
      return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
    case RESULT_IPC_FAILED:
      return MSG_CONSUMER_ERROR_IPC_FAILED;
    case RESULT_NO_RECORD:
      return MSG_CONSUMER_ERROR_NO_DATA;
    default:
      return MSG_CONSUMER_ERROR_OPERATION_FAILED;
  }
}

int refuse(const CallSite& site, const char* text) {
  LOG_ERROR(site, "%s", text);
  return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
}

/// Runs a function's body, which is called with the function's place, so that no exception leaves the C API.
template <typename Body>
int guarded(const CallSite& site, Body body) noexcept {
  try {
    return body(site);
  } catch (const std::bad_alloc&) {
    LOG_ERROR(site, "[ERROR] Failed to allocate memory!");
    return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
  } catch (const std::exception& failure) {
    LOG_ERROR(site, "[ERROR] %s", failure.what());
    return MSG_CONSUMER_ERROR_OPERATION_FAILED;
  }
}

/// Runs one request; `operation` is called with the request object.
template <typename Request, typename Operation>
int command(const CallSite& here, const char* name, Operation operation) {
  return guarded(here, [&](const CallSite& site) { return status_of(run_request<Request>(site, name, operation)); });
}

// What this library and the store's hand out is released with the C library's free(): that is the contract.
// NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void release(void* block) { std::free(block); }

/// Serialises a record with `serialise` and runs one request with the text; `operation` is called with the request
/// object, the text and its length.
template <typename Record, typename Operation>
int command_serialised(const CallSite& here, const char* name, const char* serialiser,
                       int (*serialise)(const Record*, char**), const Record* record, Operation operation) {
  return guarded(here, [&](const CallSite& site) {
    const auto request = make_request<CNmsSync>(site);
    if (!request) return static_cast<int>(MSG_CONSUMER_ERROR_OUT_OF_MEMORY);
    char* serialised = nullptr;
    const int length = serialise(record, &serialised);
    const Owned<char, release> buffer(serialised);
    if (length <= 0) {
      LOG_ERROR(site, "[ERROR] %s() failed!", serialiser);
      return static_cast<int>(MSG_CONSUMER_ERROR_OPERATION_FAILED);
    }
    return status_of(logged_result(site, name, operation(*request, buffer.get(), length)));
  });
}

/// Runs one operation of the proxy.
template <typename Operation>
int with_proxy(const CallSite& site, const char* name, Operation operation) {
  return status_of(run_with_proxy(site, name, operation));
}

/// Metadata is found by a message id, an object id, or both.
bool has_meta_key(const CallSite& site, int msgId, const char* objectId) {
  if (msgId >= 1 || objectId != nullptr) return true;
  LOG_ERROR(site, "[ERROR] Invalid parameter: msgId:[%d], objectId:[%s]!", msgId, "(null)");
  return false;
}

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

// Both name the integer getter although the boolean one is called; one of them ends without a mark.
constexpr MmsRefusal MMS_REFUSAL = {"preference_get_int", "[ERROR] Sending mms is not supported",
                                    MSG_CONSUMER_ERROR_OPERATION_FAILED, MSG_CONSUMER_ERROR_MMS_NOT_SUPPORTED};
constexpr MmsRefusal NMS_MMS_REFUSAL = {"preference_get_int", "[ERROR] Sending mms is not supported!",
                                        MSG_CONSUMER_ERROR_OPERATION_FAILED, MSG_CONSUMER_ERROR_MMS_NOT_SUPPORTED};

constexpr const char* PREFERENCE_DELAY_EVENTS = "consumer_preference_int_delay_noti_event";

// ---- Conversions: store records to public records ----

/// Whether there is no record to convert into, because none could be allocated; says so for the conversion.
bool is_missing(const CallSite& site, const void* record) {
  if (record == nullptr) LOG_ERROR(site, "[ERROR] invalid parameter!");
  return record == nullptr;
}

/// A zero-filled public record, or null.
template <typename Record>
Record* new_record() {
  return static_cast<Record*>(g_malloc0(sizeof(Record)));
}

char* copy(const std::string& text) { return g_strdup(text.c_str()); }

/// For texts that count as absent when they are empty.
char* copy_unless_empty(const std::string& text) { return text.empty() ? nullptr : copy(text); }

int seconds(std::int64_t milliseconds) { return static_cast<int>(milliseconds / 1000); }

/// Appends to a list in one step per element: it keeps the last node.
class ListAppender {
 public:
  explicit ListAppender(GSList** head) : _head(head), _last(g_slist_last(*head)) {}

  void append(void* element) {
    GSList* const appended = g_slist_append(_last, element);
    if (_last == nullptr) {
      *_head = appended;
      _last = appended;
    } else {
      _last = _last->next;
    }
  }

 private:
  GSList** _head;
  GSList* _last;
};

/// Converts a store record into a public record of its own and appends it to a list. A public record that could not be
/// allocated is appended as NULL; the conversion says so.
template <typename Public, typename Record>
void append_converted(const Record& from, ListAppender& to, void (*convert)(const Record&, Public*)) {
  auto* const element = new_record<Public>();
  convert(from, element);
  to.append(element);
}

template <typename Public, typename Record>
void append_converted(const std::vector<Record>& from, GSList** to, void (*convert)(const Record&, Public*)) {
  ListAppender list(to);
  for (const Record& record : from) append_converted(record, list, convert);
}

void __convert_legacy_address(const Address& from, msg_address_item_t* to) {
  if (is_missing(HERE, to)) return;
  to->num_1 = from.num_a;
  to->num_2 = from.num_b;
  to->num_3 = from.num_c;
  to->flag_4 = from.flag_e;
  to->address = copy(from.address);
}

/// Kinds that the client does not know count as "other".
int normalised_kind(int kind) {
  switch (kind) {
    case Content::KIND_TEXT:
    case Content::KIND_IMAGE:
    case Content::KIND_VIDEO:
    case Content::KIND_AUDIO:
      return kind;
    default:
      return Content::KIND_OTHER;
  }
}

void __convert_legacy_content(const Content& from, msg_content_item_t* to) {
  if (is_missing(HERE, to)) return;
  to->content_id = from.id;
  to->num_2 = from.num_b;
  to->kind = normalised_kind(from.kind);
  to->flag_4 = from.flag_c;
  to->flag_5 = from.flag_d;
  to->status = from.status;
  to->text_7 = copy(from.str_g);
  to->text_8 = copy(from.str_h);
  to->text_9 = copy(from.str_i);
  to->text_10 = copy(from.str_e);
  to->text_11 = copy(from.str_j);
  to->text_12 = copy(from.str_l);
}

void __convert_legacy_nms_msg_meta(const NmsMsgMeta& from, msg_nms_msg_meta_data_t* to) {
  if (is_missing(HERE, to)) return;
  to->msg_id = from.msgId;
  to->meta_str1 = copy(from.metaStr1);
  to->meta_str2 = copy(from.metaStr2);
  to->meta_str3 = copy(from.metaStr3);
  to->meta_str4 = copy(from.metaStr4);
  to->meta_int1 = from.metaInt1;
  to->meta_int2 = from.metaInt2;
  to->meta_int64_1 = from.metaInt64_1;
  to->meta_int64_2 = from.metaInt64_2;
  to->meta_flag1 = from.metaFlag1;
  to->meta_flag2 = from.metaFlag2;
  to->meta_flag3 = from.metaFlag3;
}

// The members do not all cross in the store's order; the binary interface is what it is.
void __convert_legacy_message(const Message& from, msg_message_item_t* to) {
  if (is_missing(HERE, to)) return;
  to->msg_id = from.id;
  to->num_2 = from.num_c;
  to->text_3 = copy(from.str_d);
  to->num_4 = from.num_b;
  to->num_5 = from.num_e;
  to->num_6 = from.num_f;
  to->network_status = from.networkStatus;
  to->flag_8 = from.flag_j;
  to->time_sec = seconds(from.time_ms);
  to->num_10 = from.num_m;
  to->num_11 = from.num_h;
  to->num_12 = from.num_q;
  to->flag_13 = from.flag_r;
  to->num_14 = from.num_n;
  to->flag_15 = from.flag_l;
  to->flag_16 = from.flag_k;
  to->text_17 = copy(from.str_o);
  to->text_18 = copy(from.str_p);
  to->text_19 = copy_unless_empty(from.str_s);
  append_converted(from.addresses, &to->address_list, __convert_legacy_address);
  append_converted(from.contents, &to->content_list, __convert_legacy_content);
  if (common_util::is_numbersync_supported()) {
    to->nms_meta = new_record<msg_nms_msg_meta_data_t>();
    __convert_legacy_nms_msg_meta(from.nms_meta, to->nms_meta);
  }
}

void __convert_legacy_thread(const Thread& from, msg_thread_view_t* to) {
  if (is_missing(HERE, to)) return;
  to->thread_id = from.id;
  to->text_2 = copy(from.str_m);
  to->text_3 = copy(from.str_n);
  to->text_4 = copy(from.str_o);
  to->time_sec = seconds(from.time_ms);
  to->num_6 = from.num_g;
  to->num_7 = from.num_b;
  to->flag_8 = from.flag_p;
  to->num_10 = from.num_h;
  to->num_11 = from.num_c;
  to->num_12 = from.num_d;
  to->num_13 = from.num_k;
  to->flag_14 = from.flag_f;
  to->flag_15 = from.flag_e;
  to->num_16 = from.num_i;
}

void __convert_legacy_conversation(const Conversation& from, msg_conversation_view_t* to) {
  if (is_missing(HERE, to)) return;
  to->msg_id = from.id;
  to->num_2 = from.num_c;
  to->text_3 = copy(from.str_d);
  to->num_4 = from.num_b;
  to->num_5 = from.num_f;
  to->num_6 = from.num_e;
  to->num_7 = from.num_g;
  to->time_sec = seconds(from.time_ms);
  to->flag_9 = from.flag_j;
  to->num_10 = from.num_m;
  to->text_11 = copy(from.str_s);
  to->text_12 = copy(from.str_t);
  to->num_13 = from.num_h;
  to->num_14 = from.num_p;
  to->flag_15 = from.flag_o;
  to->text_16 = copy_unless_empty(from.str_q);
  to->text_17 = copy(from.str_r);
  to->num_18 = from.num_n;
  to->flag_19 = from.flag_l;
  to->flag_20 = from.flag_k;
  append_converted(from.contents, &to->content_list, __convert_legacy_content);
}

// ---- The frames of the queries ----

/// The status for a query's result; one that is neither 0 nor "no record" is logged under the query's name.
int query_status(const CallSite& site, const char* name, int result, const char* prefix = "[ERROR] ") {
  if (result != RESULT_OK && result != RESULT_NO_RECORD) LOG_ERROR(site, "%s%s() failed: (%d)", prefix, name, result);
  return status_of(result);
}

/// For the look-ups, whose failure is logged without "[ERROR]".
int lookup_status(const CallSite& site, const char* name, int result) { return query_status(site, name, result, ""); }

/// Reads one record with `query`, which is called with an empty one, and converts it into `output`.
template <typename Record, typename Public, typename Query>
int query_record(const CallSite& here, const char* name, Query query, void (*convert)(const Record&, Public*),
                 Public* output) {
  return guarded(here, [&](const CallSite& site) {
    Record record;
    const int result = query(record);
    if (result == RESULT_OK) convert(record, output);
    return query_status(site, name, result);
  });
}

/// What becomes of the records that a list query found although it answered that there are none.
enum class WithoutRecord { DISCARD, APPEND };

/// Reads a list with `query`, which is called with an empty vector, and appends its records to the handle's list.
template <typename Record, typename Public, typename Query>
int query_list(const CallSite& here, const char* name, Query query, void (*convert)(const Record&, Public*),
               msg_list_handle_t* handle, WithoutRecord without_record = WithoutRecord::DISCARD) {
  return guarded(here, [&](const CallSite& site) {
    std::vector<Record> records;
    const int result = query(records);
    if (result == RESULT_OK || (result == RESULT_NO_RECORD && without_record == WithoutRecord::APPEND)) {
      ListAppender list(&handle->list);
      for (Record& stored : records) {
        // Emptied as it is converted, so that a long list is not held twice.
        const Record record = std::move(stored);
        append_converted(record, list, convert);
      }
    }
    return query_status(site, name, result);
  });
}

ListCondition to_list_condition(const msg_list_condition_t& from) {
  ListCondition condition;
  condition.num_a = from.num_1;
  condition.num_b = from.num_2;
  if (from.thread_id != 0) condition.thread_ids.push_back(from.thread_id);
  condition.flag_x = from.flag_5 == 0 ? 1 : 0;  // the public flag asks for the opposite order
  condition.flag_y = from.flag_6;
  if (from.keyword != nullptr) condition.keyword = from.keyword;
  return condition;
}

// ---- Releases ----

template <typename Record>
void release_elements(GSList* list, void (*release_element)(Record*)) {
  for (const GSList* node = list; node != nullptr; node = node->next) {
    release_element(static_cast<Record*>(node->data));
  }
  g_slist_free(list);
}

void release_address(msg_address_item_t* address) {
  if (address == nullptr) return;
  release(address->address);
  release(address);
}

void release_message(msg_message_item_t* message) {
  if (message == nullptr) return;
  release(message->text_3);
  release(message->text_17);
  release(message->text_18);
  release(message->text_19);
  release_elements(message->address_list, release_address);
  release_elements(message->content_list, msg_consumer_free_content_item);
  msg_consumer_free_nms_msg_meta_item(message->nms_meta);
  release(message);
}

void release_thread(msg_thread_view_t* thread) {
  if (thread == nullptr) return;
  release(thread->text_2);
  release(thread->text_4);
  release(thread->text_3);
  release(thread);
}

void release_conversation(msg_conversation_view_t* conversation) {
  if (conversation == nullptr) return;
  release(conversation->text_3);
  release(conversation->text_11);
  release(conversation->text_12);
  release(conversation->text_17);
  release(conversation->text_16);
  release_elements(conversation->content_list, msg_consumer_free_content_item);
  release(conversation);
}

/// Releases a record through the caller's pointer and clears the pointer.
template <typename Record>
void release_and_clear(Record** record, void (*release_record)(Record*)) {
  if (record == nullptr) return;
  release_record(*record);
  *record = nullptr;
}

/// Releases the elements, the list and the handle's cell, and clears the caller's handle.
template <typename Record>
void release_list(msg_list_handle_t** handle, void (*release_element)(Record*)) {
  if (handle == nullptr || *handle == nullptr) return;
  release_elements((*handle)->list, release_element);
  release(*handle);
  *handle = nullptr;
}

bool is_event_type(const CallSite& site, int type) {
  if (type >= MSG_CONSUMER_EVENT_STORAGE_CHANGED && type <= MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT) return true;
  LOG_ERROR(site, "[ERROR] Unhandled type: (%d)", type);
  return false;
}

/// The classes number event types from 1.
EventType to_event_type(int type) { return static_cast<EventType>(type + 1); }

}  // namespace

// ---- Connection and events ----

int msg_consumer_connect() {
  return guarded(HERE, [](const CallSite& site) {
    int service_status = 0;
    if (const int result = preference_get_int(PREFERENCE_SERVICE_STATUS, &service_status); result != 0) {
      LOG_ERROR(site, "[ERROR] preference_get_int() for (%s) failed: (%d) ", PREFERENCE_SERVICE_STATUS, result);
      return static_cast<int>(MSG_CONSUMER_ERROR_OPERATION_FAILED);
    }
    if (service_status == 0) {
      launch_service(site);
      return static_cast<int>(MSG_CONSUMER_ERROR_OPERATION_FAILED);
    }
    const int status = with_proxy(site, "IPCProxy::connect", [](IPCProxy& proxy) { return proxy.connect(); });
    if (status == MSG_CONSUMER_ERROR_NONE) static_cast<void>(init_db());
    return status;
  });
}

int msg_consumer_disconnect() {
  return guarded(HERE, [](const CallSite& site) {
    static_cast<void>(deinit_db());
    // The text names connect although it is disconnect.
    return with_proxy(site, "IPCProxy::connect", [](IPCProxy& proxy) { return proxy.disconnect(); });
  });
}

int msg_consumer_event_subscribe(int type, msg_consumer_event_cb cb, void* user_data) {
  if (!is_event_type(HERE, type)) return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
  return guarded(HERE, [&](const CallSite& site) {
    return with_proxy(site, "IPCProxy::subscribe",
                      [&](IPCProxy& proxy) { return proxy.subscribe(to_event_type(type), cb, user_data); });
  });
}

int msg_consumer_event_unsubscribe(int type, msg_consumer_event_cb cb) {
  if (!is_event_type(HERE, type)) return MSG_CONSUMER_ERROR_OUT_OF_MEMORY;
  return guarded(HERE, [&](const CallSite& site) {
    return with_proxy(site, "IPCProxy::unsubscribe",
                      [&](IPCProxy& proxy) { return proxy.unsubscribe(to_event_type(type), cb); });
  });
}

// ---- Changes to messages ----

int msg_consumer_read_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::readMessage",
                               [&](IMessageSync& request) { return request.readMessage(msgId, false); });
}

int msg_consumer_delete_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::deleteMessage",
                               [&](IMessageSync& request) { return request.deleteMessage(msgId, false); });
}

int msg_consumer_send_message(int threadId, const char* recipient, const char* text, int simIndex, int* msgId) {
  if (recipient == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: recipient is nullptr!");
  if (text == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: message is nullptr!");
  if (msgId == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msgId is nullptr!");
  return command<CMessageSync>(HERE, "IMessageSync::sendMessage", [&](IMessageSync& request) {
    return request.sendMessage("sms", threadId, recipient, text, "", simIndex, msgId);
  });
}

int msg_consumer_send_mms(int threadId, const char* recipient, const char* text, const char* filepath, int simIndex,
                          int* msgId) {
  if (recipient == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: recipient is nullptr!");
  if (text == nullptr && filepath == nullptr) {
    return refuse(HERE, "[ERROR] Invalid parameters: filepath and message is nullptr!");
  }
  if (msgId == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msgId is nullptr!");
  if (const int status = check_mms(HERE, MMS_REFUSAL); status != 0) return status;
  return command<CMessageSync>(HERE, "IMessageSync::sendMessage", [&](IMessageSync& request) {
    return request.sendMessage("mms", threadId, recipient, or_empty(text), or_empty(filepath), simIndex, msgId);
  });
}

int msg_consumer_resend_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::resendMessage",
                               [&](IMessageSync& request) { return request.resendMessage(msgId); });
}

int msg_consumer_restore_block_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::restoreBlockMessage",
                               [&](IMessageSync& request) { return request.restoreBlockMessage(msgId); });
}

int msg_consumer_store_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::exportToPhoneMessage",
                               [&](IMessageSync& request) { return request.exportToPhoneMessage(msgId); });
}

int msg_consumer_update_retrieve_mms_message(int msgId) {
  return command<CMessageSync>(HERE, "IMessageSync::updateRetrieveMMSMessage",
                               [&](IMessageSync& request) { return request.updateRetrieveMMSMessage(msgId); });
}

// ---- Changes to threads ----

int msg_consumer_read_thread_message(int threadId) {
  return command<CThreadSync>(HERE, "IThreadSync::readThread",
                              [&](IThreadSync& request) { return request.readThread(threadId); });
}

int msg_consumer_delete_thread(int threadId) {
  return command<CThreadSync>(HERE, "IThreadSync::deleteThread",
                              [&](IThreadSync& request) { return request.deleteThread(threadId); });
}

int msg_consumer_delete_threads(const int* threadIds, int count) {
  if (threadIds == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: threadId_array is nullptr!");
  if (count < 1) {
    LOG_ERROR(HERE, "[ERROR] Invalid parameter: count:(%d)", count);
    return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  }
  return command<CThreadSync>(HERE, "IThreadSync::deleteThreads", [&](IThreadSync& request) {
    return request.deleteThreads(std::vector<int>(threadIds, threadIds + count));
  });
}

int msg_consumer_set_active_thread_id(int threadId) {
  return command<CThreadSync>(HERE, "syncManager->setActiveThread",
                              [&](IThreadSync& request) { return request.setActiveThread(threadId); });
}

int msg_consumer_update_group_chat_address(int threadId) {
  return command<CThreadSync>(HERE, "IThreadSync::updateGroupchatThread",
                              [&](IThreadSync& request) { return request.updateGroupchatThread(threadId); });
}

// ---- Content files and the paired device ----

int msg_consumer_get_content_file(int msgId, const char* peerFilepath) {
  if (peerFilepath == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: peerFilepath is nullptr!");
  return command<CContentSync>(HERE, "syncManager->getContentFile",
                               [&](IContentSync& request) { return request.getContentFile(msgId, peerFilepath); });
}

int msg_consumer_send_content_file(int msgId, const char* filepath) {
  if (filepath == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: filepath is nullptr!");
  return command<CContentSync>(HERE, "IContentSync::sendContentFile",
                               [&](IContentSync& request) { return request.sendContentFile(msgId, filepath); });
}

int msg_consumer_send_show_on_device(int msgId) {
  return command<CRequestSync>(HERE, "CRequestSync::showOnDevice",
                               [&](IRequestSync& request) { return request.showOnDevice(msgId); });
}

int msg_consumer_send_change_sms_application_request(bool status) {
  return command<CRequestSync>(HERE, "IRequestSync::reqChangeDefaultSmsApplication",
                               [&](IRequestSync& request) { return request.reqChangeDefaultSmsApplication(status); });
}

// ---- Queries ----

int msg_consumer_get_message(int msgId, int /*unused1*/, int /*unused2*/, msg_message_item_t* msg_detail_info) {
  if (msg_detail_info == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_detail_info is nullptr!");
  return query_record(
      HERE, "db_get_message", [&](Message& message) { return db_get_message(msgId, message); },
      __convert_legacy_message, msg_detail_info);
}

int msg_consumer_get_thread_view(int threadId, msg_thread_view_t* thread_view) {
  if (thread_view == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: thread_view is nullptr!");
  return query_record(
      HERE, "db_get_thread", [&](Thread& thread) { return db_get_thread(threadId, thread); }, __convert_legacy_thread,
      thread_view);
}

int msg_consumer_get_conversation_view(int msgId, msg_conversation_view_t* conv_view) {
  if (conv_view == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: conv_view is nullptr!");
  return query_record(
      HERE, "db_get_conversation", [&](Conversation& conversation) { return db_get_conversation(msgId, conversation); },
      __convert_legacy_conversation, conv_view);
}

int msg_consumer_get_thread_view_list(msg_list_handle_t* thread_view_list) {
  if (thread_view_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: thread_view_list is nullptr!");
  return query_list(HERE, "db_get_threads", db_get_threads, __convert_legacy_thread, thread_view_list);
}

int msg_consumer_get_conversation_view_list(int threadId, msg_list_handle_t* conv_view_list) {
  if (conv_view_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: conv_view_list is nullptr!");
  return query_list(
      HERE, "db_get_conversations",
      [&](std::vector<Conversation>& list) { return db_get_conversations(threadId, list); },
      __convert_legacy_conversation, conv_view_list);
}

int msg_consumer_get_address_list(int threadId, msg_list_handle_t* addr_list) {
  if (addr_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: addr_list is nullptr!");
  return query_list(
      HERE, "db_get_addresses", [&](std::vector<Address>& list) { return db_get_addresses(threadId, list); },
      __convert_legacy_address, addr_list);
}

int msg_consumer_get_message_list(msg_list_handle_t* msg_item_list, msg_list_condition_t* condition) {
  if (msg_item_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_item_list is nullptr!");
  if (condition == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: condition is nullptr!");
  return query_list(
      HERE, "db_get_message_list",
      [&](std::vector<Message>& list) { return db_get_message_list(to_list_condition(*condition), list); },
      __convert_legacy_message, msg_item_list);
}

int msg_consumer_get_thread_id_by_address(const char* address, int* thread_id) {
  if (address == nullptr) return refuse(HERE, "[ERROR] Input parameter: addressNum is nullptr!");
  if (thread_id == nullptr) return refuse(HERE, "[ERROR] Input parameter: threadId is nullptr!");
  return guarded(HERE, [&](const CallSite& site) {
    Address participant;
    participant.address = address;
    participant.num_b = 1;
    participant.num_c = 0;
    return lookup_status(site, "db_check_thread_address_exist",
                         db_check_thread_address_exist({participant}, thread_id));
  });
}

// ---- Network message store: messages ----

int msg_consumer_nms_add_message(const msg_message_item_t* msg_item) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (msg_item == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_item is nullptr!");
  return command_serialised(
      HERE, "INmsSync::addMessage", "msg_serialize_message", msg_serialize_message, msg_item,
      [](INmsSync& request, const char* data, int size) { return request.addMessage(data, size); });
}

int msg_consumer_nms_read_message(int msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CMessageSync>(HERE, "IMessageSync::readMessage",
                               [&](IMessageSync& request) { return request.readMessage(msgId, true); });
}

int msg_consumer_nms_get_message_network_status(int msgId, int* subType, int* networkStatus) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (subType == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: subType is nullptr!");
  if (networkStatus == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: networkStatus is nullptr!");
  return guarded(HERE, [&](const CallSite& site) {
    Message message;
    const int result = db_get_message(msgId, message);
    if (result == RESULT_OK) {
      *subType = message.subType;
      *networkStatus = message.networkStatus;
    }
    return query_status(site, "db_get_message", result);
  });
}

int msg_consumer_nms_update_message_network_status(int msgId, int networkStatus) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::updateNetworkStatus",
                           [&](INmsSync& request) { return request.updateNetworkStatus(msgId, networkStatus); });
}

int msg_consumer_nms_delete_message(int msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CMessageSync>(HERE, "IMessageSync::deleteMessage",
                               [&](IMessageSync& request) { return request.deleteMessage(msgId, true); });
}

int msg_consumer_nms_delete_message_by_time(int time) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::deleteMessagesByTime",
                           [&](INmsSync& request) { return request.deleteMessagesByTime(time); });
}

int msg_consumer_nms_send_message(int threadId, const char* recipient, const char* message, int* msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (recipient == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: recipient is nullptr!");
  if (message == nullptr) return refuse(HERE, "[ERROR] Invalid parameters: message is nullptr!");
  if (msgId == nullptr) return refuse(HERE, "[ERROR] Invalid parameters: msgId is nullptr!");
  return command<CNmsSync>(HERE, "INmsSync::sendMessage", [&](INmsSync& request) {
    return request.sendMessage("sms", threadId, recipient, message, "", msgId);
  });
}

int msg_consumer_nms_send_mms(int threadId, const char* recipient, const char* message, const char* filepath,
                              int* msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (recipient == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: recipient is nullptr!");
  if (message == nullptr && filepath == nullptr) {
    return refuse(HERE, "[ERROR] Invalid parameters: message & filepath are nullptr!");
  }
  if (msgId == nullptr) return refuse(HERE, "[ERROR] Invalid parameters: msgId is nullptr!");
  if (!common_util::is_wpc_mode()) {
    if (const int status = check_mms(HERE, NMS_MMS_REFUSAL); status != 0) return status;
  }
  return command<CNmsSync>(HERE, "INmsSync::sendMessage", [&](INmsSync& request) {
    return request.sendMessage("mms", threadId, recipient, or_empty(message), or_empty(filepath), msgId);
  });
}

int msg_consumer_nms_resend_message(int msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::resendMessage",
                           [&](INmsSync& request) { return request.resendMessage(msgId); });
}

int msg_consumer_nms_download_mms(int msgId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::downloadMms",
                           [&](INmsSync& request) { return request.downloadMms(msgId); });
}

int msg_consumer_nms_handle_resetbox() {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::handleResetBox",
                           [](INmsSync& request) { return request.handleResetBox(); });
}

// ---- Network message store: metadata ----

int msg_consumer_nms_add_msg_meta(const msg_nms_msg_meta_data_t* nms_msg_meta) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (nms_msg_meta == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: nms_msg_meta is nullptr!");
  return command_serialised(
      HERE, "INmsSync::addNmsMsgMeta", "msg_serialize_nms_msg_meta", msg_serialize_nms_msg_meta, nms_msg_meta,
      [](INmsSync& request, const char* data, int size) { return request.addNmsMsgMeta(data, size); });
}

int msg_consumer_nms_update_msg_meta(int msgId, const char* objectId, const msg_nms_msg_meta_data_t* nms_msg_meta) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (nms_msg_meta == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: nms_msg_meta is nullptr!");
  if (!has_meta_key(HERE, msgId, objectId)) return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  return command_serialised(HERE, "INmsSync::updateNmsMsgMeta", "msg_serialize_nms_msg_meta",
                            msg_serialize_nms_msg_meta, nms_msg_meta,
                            [&](INmsSync& request, const char* data, int size) {
                              return request.updateNmsMsgMeta(msgId, or_empty(objectId), data, size);
                            });
}

int msg_consumer_nms_delete_msg_meta(int msgId, const char* objectId) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (!has_meta_key(HERE, msgId, objectId)) return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  return command<CNmsSync>(HERE, "INmsSync::deleteNmsMsgMeta",
                           [&](INmsSync& request) { return request.deleteNmsMsgMeta(msgId, or_empty(objectId)); });
}

int msg_consumer_nms_delete_invalid_msg_meta() {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  return command<CNmsSync>(HERE, "INmsSync::deleteInvalidNmsMsgMetas",
                           [](INmsSync& request) { return request.deleteInvalidNmsMsgMetas(); });
}

int msg_consumer_nms_get_msg_meta(int msgId, const char* objectId, msg_nms_msg_meta_data_t* nms_msg_meta) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (nms_msg_meta == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: nms_msg_meta is nullptr!");
  if (msgId < 1 && objectId == nullptr) {
    LOG_ERROR(HERE, "[ERROR] Invalid parameter: msgId:[%d] & objectId is nullptr!", msgId);
    return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  }
  return query_record(
      HERE, "db_get_nms_msg_meta",
      [&](NmsMsgMeta& meta) { return db_get_nms_msg_meta(msgId, or_empty(objectId), meta); },
      __convert_legacy_nms_msg_meta, nms_msg_meta);
}

int msg_consumer_nms_check_download_required_msg_exist(bool* exist) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (exist == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: exist is nullptr!");
  return guarded(HERE, [&](const CallSite& site) {
    return lookup_status(site, "db_has_download_required_message", db_has_download_required_message(exist));
  });
}

int msg_consumer_nms_get_uncorrelated_msg_meta_list(const char* correlationId, int type, int id_type, bool flag,
                                                    msg_list_handle_t* msg_item_list) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (msg_item_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_item_list is nullptr!");
  if (type != NmsMsgMeta::CORRELATION_MESSAGE && type != NmsMsgMeta::CORRELATION_GROUPCHAT) {
    LOG_ERROR(HERE, "[ERROR] Invalid parameter: type: (%d)", type);
    return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  }
  if (id_type < NmsMsgMeta::SEARCH_EXACT || id_type > NmsMsgMeta::SEARCH_CONTAINED) {
    LOG_ERROR(HERE, "[ERROR] Invalid parameter: id_type: (%d)", id_type);
    return MSG_CONSUMER_ERROR_INVALID_PARAMETER;
  }
  return query_list(
      HERE, "db_get_uncorrelated_nms_msg_metas",
      [&](std::vector<NmsMsgMeta>& list) {
        return db_get_uncorrelated_nms_msg_metas(or_empty(correlationId),
                                                 static_cast<NmsMsgMeta::CorrelationType>(type),
                                                 static_cast<NmsMsgMeta::CorrelationIdSearchType>(id_type), flag, list);
      },
      __convert_legacy_nms_msg_meta, msg_item_list, WithoutRecord::APPEND);
}

int msg_consumer_nms_get_sync_required_msg_meta_list(bool flag, msg_list_handle_t* msg_item_list) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (msg_item_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_item_list is nullptr!");
  return query_list(
      HERE, "db_get_sync_required_nms_msg_metas",
      [&](std::vector<NmsMsgMeta>& list) { return db_get_sync_required_nms_msg_metas(flag, list); },
      __convert_legacy_nms_msg_meta, msg_item_list, WithoutRecord::APPEND);
}

int msg_consumer_nms_get_download_required_msg_meta_list(msg_list_handle_t* msg_item_list) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (msg_item_list == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: msg_item_list is nullptr!");
  return query_list(HERE, "db_get_download_required_nms_msg_metas", db_get_download_required_nms_msg_metas,
                    __convert_legacy_nms_msg_meta, msg_item_list, WithoutRecord::APPEND);
}

// ---- Network message store: subscription and settings ----

int msg_consumer_nms_get_mssi_info(msg_nms_mssi_info_t* mssi_info) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (mssi_info == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: mssi_info is nullptr!");
  return guarded(HERE, [&](const CallSite& site) {
    unsigned long long noti_index = 0;
    std::string restart_token;
    const int result = db_get_subscription_info(noti_index, restart_token);
    if (result == RESULT_OK) {
      mssi_info->noti_index = noti_index;
      mssi_info->restart_token = copy(restart_token);
    }
    return query_status(site, "db_get_subscription_info", result);
  });
}

int msg_consumer_nms_update_mssi_info(const msg_nms_mssi_info_t* mssi_info) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (mssi_info == nullptr) return refuse(HERE, "[ERROR] Invalid parameter: mssi_info is nullptr!");
  if (mssi_info->restart_token == nullptr) {
    return refuse(HERE, "[ERROR] Invalid parameter: restart_token is nullptr!");
  }
  return command<CNmsSync>(HERE, "INmsSync::updateSubscriptionInfo", [&](INmsSync& request) {
    return request.updateSubscriptionInfo(mssi_info->noti_index, mssi_info->restart_token);
  });
}

int msg_consumer_nms_set_delay_noti_event(int value) {
  if (!has_numbersync(HERE)) return MSG_CONSUMER_ERROR_NOT_SUPPORTED;
  if (const int result = preference_set_int(PREFERENCE_DELAY_EVENTS, value); result != 0) {
    LOG_ERROR(HERE, "[ERROR] preference_set_int() for (%s) failed: (%d) ", PREFERENCE_DELAY_EVENTS, result);
    return MSG_CONSUMER_ERROR_OPERATION_FAILED;
  }
  return MSG_CONSUMER_ERROR_NONE;
}

// ---- Releases ----

void msg_consumer_free_message_info(msg_message_item_t** message) { release_and_clear(message, release_message); }

void msg_consumer_free_message_list(msg_list_handle_t** list) { release_list(list, release_message); }

void msg_consumer_free_thread_info(msg_thread_view_t** thread) { release_and_clear(thread, release_thread); }

void msg_consumer_free_thread_list(msg_list_handle_t** list) { release_list(list, release_thread); }

void msg_consumer_free_conversation_info(msg_conversation_view_t** conversation) {
  release_and_clear(conversation, release_conversation);
}

void msg_consumer_free_conversation_list(msg_list_handle_t** list) { release_list(list, release_conversation); }

void msg_consumer_free_address_list(msg_list_handle_t** list) { release_list(list, release_address); }

void msg_consumer_free_condition_info(msg_list_condition_t** condition) {
  release_and_clear<msg_list_condition_t>(condition, [](msg_list_condition_t* released) {
    if (released == nullptr) return;
    release(released->keyword);
    release(released);
  });
}

void msg_consumer_free_content_item(msg_content_item_t* content) {
  if (content == nullptr) return;
  release(content->text_7);
  release(content->text_8);
  release(content->text_9);
  release(content->text_10);
  release(content->text_11);
  release(content->text_12);
  msg_consumer_free_nms_content_meta_item(content->nms_content_meta);
  release(content);
}

int msg_consumer_copy_content(const msg_content_item_t* source, msg_content_item_t* target) {
  if (source == nullptr || target == nullptr) return 0;
  *target = *source;
  target->text_7 = g_strdup(source->text_7);
  target->text_8 = g_strdup(source->text_8);
  target->text_9 = g_strdup(source->text_9);
  target->text_10 = g_strdup(source->text_10);
  target->text_11 = g_strdup(source->text_11);
  target->text_12 = g_strdup(source->text_12);
  if (source->nms_content_meta == nullptr) return 1;
  auto* const meta = new_record<msg_nms_content_meta_t>();
  if (meta == nullptr) {
    // The strings stay the target's own: a caller who releases all but the metadata frees nothing of the source's.
    LOG_ERROR(HERE, "[ERROR] msg_copy_content_nms_meta_data is failed");
    return 0;
  }
  meta->num_1 = source->nms_content_meta->num_1;
  meta->num_2 = source->nms_content_meta->num_2;
  meta->text_3 = g_strdup(source->nms_content_meta->text_3);
  meta->text_4 = g_strdup(source->nms_content_meta->text_4);
  meta->text_5 = g_strdup(source->nms_content_meta->text_5);
  meta->num_6 = source->nms_content_meta->num_6;
  target->nms_content_meta = meta;
  return 1;
}

void msg_consumer_free_nms_msg_meta_item(msg_nms_msg_meta_data_t* item) {
  if (item == nullptr) return;
  release(item->meta_str1);
  release(item->meta_str2);
  release(item->meta_str3);
  release(item->meta_str4);
  release(item);
}

void msg_consumer_free_nms_msg_meta_list(msg_list_handle_t** list) {
  release_list(list, msg_consumer_free_nms_msg_meta_item);
}

void msg_consumer_free_nms_content_meta_item(msg_nms_content_meta_t* item) {
  if (item == nullptr) return;
  // The order is the interface's.
  release(item->text_3);
  release(item->text_5);
  release(item->text_4);
  release(item);
}

void msg_consumer_free_nms_mssi_info(msg_nms_mssi_info_t* mssi_info) {
  if (mssi_info == nullptr) return;
  release(mssi_info->restart_token);
  release(mssi_info);
}
