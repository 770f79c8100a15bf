// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <string>

#include "attachments.hpp"
#include "commands.hpp"
#include "record-values.hpp"

namespace msg_consumer::service {
namespace {

bool takes_attachments(const Message& message) {
  return message.num_c != TYPE_SMS && (message.num_e == DIRECTION_OUTGOING || message.num_e == DIRECTION_DRAFT);
}

std::string one_path(std::string_view path) {
  if (!path.starts_with('/')) {
    throw Refusal(STATUS_INVALID_ARGUMENT);
  }
  return std::string(path);
}

}  // namespace

Outcome Commands::get_content_file(int message_id, std::string_view path) {
  return guarded([&] {
    const std::string target = one_path(path);
    const Message message = _store.messages().get(message_id).message;
    _files.copy_out(first_attachment(message).str_g, target);
    try {
      return _store.commit([&]() -> std::optional<Change> {
        return Change{
            .signal = CONTENT_CHANGED, .event = "done", .message_ids = {message_id}, .thread_ids = {message.num_b}};
      });
    } catch (...) {
      unlink(target.c_str());
      throw;
    }
  });
}

Outcome Commands::send_content_file(int message_id, std::string_view path) {
  return guarded([&] {
    const std::string source = one_path(path);
    StoredMessage stored = _store.messages().get(message_id);
    Message& message = stored.message;
    if (!takes_attachments(message)) {
      throw Refusal(STATUS_NOT_APPLICABLE);
    }
    require(message.contents.size() < MAX_FILES, STATUS_TOO_MUCH);
    IncomingFiles files = _files.copy_in({source}, ContentFiles::MAX_TOTAL_SIZE - message.num_q);
    std::optional<Announcement> announcement = _store.commit([&]() -> std::optional<Change> {
      const Message before = message;
      _files.place(files, message_id, message.contents.size() + 1);
      append_file_parts(message, files);
      _store.messages().number_contents(message);
      _store.messages().update(before, stored);
      return Change{
          .signal = CONTENT_CHANGED, .event = "done", .message_ids = {message_id}, .thread_ids = {message.num_b}};
    });
    files.keep();
    return announcement;
  });
}

}  // namespace msg_consumer::service
