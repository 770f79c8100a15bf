// SPDX-License-Identifier: Apache-2.0
#include "service-on-disk.hpp"

#include "service/attachments.hpp"
#include "service/record-values.hpp"
#include "support/temp-dir.hpp"
#include "unit/service/serialized-records.hpp"

namespace msg_consumer::test {

using namespace msg_consumer::service;

ServiceOnDisk::ServiceOnDisk(const std::filesystem::path& folder)
    : _folder(folder),
      _store(database_in(folder)),
      _files({.database = database_in(folder), .files = folder / "files"}),
      _inbox(_store),
      _commands(_store, _files, _inbox, _network, _phone, _clock) {
  _files.claim(_store.id());
  _files.remove_orphans([this](int message_id) { return files_of_message(_store.messages(), message_id); });
}

Creation ServiceOnDisk::send(std::string_view recipients, std::string_view text) {
  return _commands.send_message(
      {.type = "sms", .thread_id = 0, .recipients = recipients, .text = text, .file_paths = "", .sim_index = 1});
}

Submission ServiceOnDisk::with_files(std::string_view recipients, std::string_view text, std::string_view paths) const {
  return {.type = "mms", .thread_id = 0, .recipients = recipients, .text = text, .file_paths = paths, .sim_index = 0};
}

Creation ServiceOnDisk::send_with_files(std::string_view recipients, std::string_view text, std::string_view paths) {
  return _commands.send_message(with_files(recipients, text, paths));
}

Creation ServiceOnDisk::draft(std::string_view recipients, std::string_view text, std::string_view paths) {
  return _commands.add_message(with_files(recipients, text, paths));
}

std::filesystem::path ServiceOnDisk::file_of(const Content& part) const {
  const std::filesystem::path stored(part.str_g);
  return _folder / "files" / stored.parent_path().filename() / stored.filename();
}

int ServiceOnDisk::receive(std::string_view sender, std::string_view text) {
  StoredMessage stored;
  stored.message.num_c = TYPE_SMS;
  stored.message.str_d = text;
  stored.message.str_p = sender;
  stored.message.time_ms = _clock.now_ms();
  _inbox.receive(stored);
  return stored.message.id;
}

Outcome ServiceOnDisk::add_record(std::string_view text, bool is_notification) {
  Message message;
  message.num_c = TYPE_MMS;
  message.num_e = DIRECTION_INCOMING;
  message.str_d = text;
  message.str_p = "+491701000009";
  message.time_ms = _clock.now_ms();
  if (is_notification) {
    message.subType = SUBTYPE_MMS_NOTIFICATION;
    message.num_n = RETRIEVAL_NEEDED;
  }
  const std::string record = serialized(message);
  return _commands.nms_add_message(as_record(record));
}

namespace {

std::string meta_record(int message_id, std::string_view object_id, std::string_view folder) {
  NmsMsgMeta meta;
  meta.msgId = message_id;
  meta.metaStr1 = object_id;
  meta.metaStr2 = "correlation of " + meta.metaStr1;
  meta.metaStr3 = folder;
  meta.metaInt1 = 1;
  meta.metaInt2 = 1;
  return serialized(meta);
}

}  // namespace

Outcome ServiceOnDisk::add_meta(int message_id, std::string_view object_id, std::string_view folder) {
  const std::string record = meta_record(message_id, object_id, folder);
  return _commands.nms_add_msg_meta(as_record(record));
}

Outcome ServiceOnDisk::update_meta(std::string_view object_id, std::string_view folder) {
  const std::string record = meta_record(0, object_id, folder);
  return _commands.nms_update_msg_meta(0, object_id, as_record(record));
}

// The ids that come out of it are those that `every_query` asks for.
void ServiceOnDisk::fill(const std::filesystem::path& sources) {
  const std::string note = sources / "note.txt";
  const std::string picture = sources / "picture.png";
  write_file(note, "a note");
  write_file(picture, std::string(9000, 'p'));
  send("+491701000001", "the first needle");
  send_with_files("+491701000001", "with a picture", picture + ";" + note);
  // Longer than a page of the database.
  receive("+491701000001", "a long needle " + std::string(9000, 'l'));
  send("+491701000002;+491701000003", "to two");
  receive("+491701000004", "not read yet");
  receive("+491701000004", "nor is this needle");
  draft("+491701000005", "draft", note);
  const int deleted = send("+491701000005", "deleted").message_id;
  _commands.delete_message(deleted, 0);
  _store.transact([this] {
    _store.threads().make_group({"+491701000001", "+491701000002"}, {.chat_id = "chat-1", .title = "Friends"});
  });
  add_meta(1, "object-1");
  add_meta(0, "object-2");
  _commands.nms_update_subscription_info(4711, "token");
  _commands.export_to_phone(1);
}

}  // namespace msg_consumer::test
