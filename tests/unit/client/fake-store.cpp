// SPDX-License-Identifier: Apache-2.0
#include "fake-store.hpp"

#include <array>
#include <cstring>

#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer-common/common_util.h>
#include <msg-consumer-common/msg-serialize.h>

namespace fake {

Store& store() {
  static Store instance;
  return instance;
}

namespace {

int answer(const std::string& call) {
  store().calls.push_back(call);
  return store().result;
}

std::string call_of(const char* name, int id) { return std::string(name) + "(" + std::to_string(id) + ")"; }

template <typename Record>
void fill(Record& output, const std::vector<Record>& from) {
  if (!from.empty()) output = from.front();
}

template <typename Record>
void fill(std::vector<Record>& output, const std::vector<Record>& from) {
  output.insert(output.end(), from.begin(), from.end());
}

struct Command {
  const char* name;
  const char* format;
};

// Written out once more, in command order, so that a test of the client does not lean on the real catalogue.
constexpr std::array<Command, 29> CATALOGUE = {{
    {"read_message", "(ii)"},
    {"read_thread", "(i)"},
    {"delete_message", "(ii)"},
    {"delete_thread", "(i)"},
    {"delete_threads", "(v)"},
    {"set_active_thread_id", "(i)"},
    {"send_change_sms_application_request", "(b)"},
    {"add_message", "(sisssi)"},
    {"send_message", "(sisssi)"},
    {"resend_message", "(i)"},
    {"show_on_device", "(i)"},
    {"get_content_file", "(is)"},
    {"send_content_file", "(is)"},
    {"restore_block_message", "(i)"},
    {"update_group_chat_address", "(i)"},
    {"export_to_phone", "(i)"},
    {"update_retrieve_mms_message", "(i)"},
    {"nms_add_message", "(vi)"},
    {"nms_delete_message_by_time", "(i)"},
    {"nms_send_message", "(sisss)"},
    {"nms_resend_message", "(i)"},
    {"nms_add_msg_meta", "(vi)"},
    {"nms_update_msg_meta", "(isvi)"},
    {"nms_delete_msg_meta", "(is)"},
    {"nms_delete_invalid_msg_meta", "()"},
    {"nms_handle_resetbox", "()"},
    {"nms_download_mms", "(i)"},
    {"nms_update_message_network_status", "(ii)"},
    {"nms_update_subscription_info", "(ts)"},
}};

}  // namespace

}  // namespace fake

using fake::answer;
using fake::call_of;
using fake::fill;
using fake::store;

namespace msg_consumer {

MsgIPC::MsgIPC() = default;
MsgIPC::~MsgIPC() = default;

std::string MsgIPC::getCmdString(IpcCommand command) const {
  return store().catalogue_has_names ? fake::CATALOGUE.at(command).name : "";
}

std::string MsgIPC::getCmdStruct(IpcCommand command) const {
  if (!store().format_override.empty()) return store().format_override;
  return store().catalogue_has_formats ? fake::CATALOGUE.at(command).format : "";
}

namespace common_util {

bool is_numbersync_supported() {
  ++store().numbersync_asked;
  return store().numbersync_supported;
}

bool is_wpc_mode() { return store().wpc_mode; }

}  // namespace common_util

namespace db {

int init_db() { return answer("init_db"); }

int deinit_db() {
  if (store().on_deinit) store().on_deinit();
  return answer("deinit_db");
}

int db_get_message(int msgId, Message& message) {
  fill(message, store().messages);
  return answer(call_of("db_get_message", msgId));
}

int db_get_message_list(const ListCondition& condition, std::vector<Message>& list) {
  store().condition = condition;
  fill(list, store().messages);
  return answer("db_get_message_list");
}

int db_get_thread(int threadId, Thread& thread) {
  fill(thread, store().threads);
  return answer(call_of("db_get_thread", threadId));
}

int db_get_threads(std::vector<Thread>& list) {
  fill(list, store().threads);
  return answer("db_get_threads");
}

int db_get_conversation(int msgId, Conversation& conversation) {
  fill(conversation, store().conversations);
  return answer(call_of("db_get_conversation", msgId));
}

int db_get_conversations(int threadId, std::vector<Conversation>& list) {
  fill(list, store().conversations);
  return answer(call_of("db_get_conversations", threadId));
}

int db_get_addresses(int threadId, std::vector<Address>& list) {
  fill(list, store().addresses);
  return answer(call_of("db_get_addresses", threadId));
}

int db_check_thread_address_exist(const std::vector<Address>& addresses, int* threadId) {
  store().looked_up = addresses;
  *threadId = store().found_thread_id;
  return answer("db_check_thread_address_exist");
}

int db_get_sending_msg_content_info(int msgId, Content& content) {
  fill(content, store().contents);
  return answer(call_of("db_get_sending_msg_content_info", msgId));
}

int db_get_nms_msg_meta(int msgId, const std::string& objectId, NmsMsgMeta& meta) {
  fill(meta, store().metas);
  return answer("db_get_nms_msg_meta(" + std::to_string(msgId) + ", '" + objectId + "')");
}

int db_get_uncorrelated_nms_msg_metas(const std::string& correlationId, NmsMsgMeta::CorrelationType type,
                                      NmsMsgMeta::CorrelationIdSearchType idType, bool includeDeleted,
                                      std::vector<NmsMsgMeta>& list) {
  fill(list, store().metas);
  return answer("db_get_uncorrelated_nms_msg_metas('" + correlationId + "', " + std::to_string(type) + ", " +
                std::to_string(idType) + ", " + (includeDeleted ? "true" : "false") + ")");
}

int db_get_sync_required_nms_msg_metas(bool includeDeleted, std::vector<NmsMsgMeta>& list) {
  fill(list, store().metas);
  return answer(std::string("db_get_sync_required_nms_msg_metas(") + (includeDeleted ? "true" : "false") + ")");
}

int db_get_download_required_nms_msg_metas(std::vector<NmsMsgMeta>& list) {
  fill(list, store().metas);
  return answer("db_get_download_required_nms_msg_metas");
}

int db_get_subscription_info(unsigned long long& notiIndex, std::string& restartToken) {
  notiIndex = store().noti_index;
  restartToken = store().restart_token;
  return answer("db_get_subscription_info");
}

int db_has_download_required_message(bool* exist) {
  *exist = true;
  return answer("db_has_download_required_message");
}

}  // namespace db

}  // namespace msg_consumer

namespace {

int serialise(const void* record, char** out) {
  store().serialised_records.push_back(record);
  *out = strdup(store().serialised.c_str());
  return store().serialised_length;
}

}  // namespace

int msg_serialize_message(const msg_message_item_t* message, char** out) { return serialise(message, out); }

int msg_serialize_nms_msg_meta(const msg_nms_msg_meta_data_t* meta, char** out) { return serialise(meta, out); }
