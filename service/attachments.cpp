// SPDX-License-Identifier: Apache-2.0
#include "attachments.hpp"

#include <algorithm>
#include <filesystem>

#include <msg-consumer-platform/logging.hpp>

#include "mime-type.hpp"
#include "status.hpp"

namespace msg_consumer::service {

std::vector<std::string> split_paths(std::string_view paths) {
  // Counted before anything is copied.
  require(std::count(paths.begin(), paths.end(), ';') <= static_cast<std::ptrdiff_t>(MAX_FILES), STATUS_TOO_MUCH);
  std::vector<std::string> result;
  while (!paths.empty()) {
    const std::size_t end = std::min(paths.find(';'), paths.size());
    result.emplace_back(paths.substr(0, end));
    paths.remove_prefix(std::min(end + 1, paths.size()));
    require(result.back().starts_with('/'), STATUS_INVALID_ARGUMENT);
  }
  require(result.size() <= MAX_FILES, STATUS_TOO_MUCH);
  return result;
}

Content& append_part(Message& message, std::string_view mime_type, std::int64_t size) {
  Content& part = message.contents.emplace_back();
  part.flag_d = 1;
  part.str_e = mime_type;
  part.kind = kind_of(mime_type);
  part.str_j = "part-" + std::to_string(message.contents.size());
  message.num_q += static_cast<int>(size);
  return part;
}

void append_text_part(Message& message) {
  if (message.str_d.empty()) {
    return;
  }
  Content& part = append_part(message, "text/plain", static_cast<std::int64_t>(message.str_d.size()));
  part.flag_c = 1;
  part.str_l = message.str_d;
}

void append_file_parts(Message& message, const IncomingFiles& files) {
  for (const IncomingFiles::File& file : files.files()) {
    Content& part = append_part(message, mime_type_of(file.name), file.size);
    part.status = Content::STATUS_DONE;
    part.str_g = file.stored_path;
    part.str_h = file.name;
  }
}

std::optional<MessageFiles> files_of_message(Messages& messages, int message_id) try {
  const std::optional<StoredMessage> stored = messages.find(message_id);
  if (!stored) {
    return std::nullopt;
  }
  MessageFiles files;
  for (const Content& part : stored->message.contents) {
    files.names.insert(std::filesystem::path(part.str_g).filename());
  }
  return files;
} catch (const schema::SqliteError& error) {
  LOG_ERROR(HERE, "[ERROR] the files of message (%d) stay: %s", message_id, error.what());
  return MessageFiles{.all = true};
}

const Content& first_attachment(const Message& message) {
  const auto found = std::find_if(message.contents.begin(), message.contents.end(),
                                  [](const Content& part) { return !part.str_g.empty(); });
  if (found == message.contents.end()) {
    throw Refusal(STATUS_NOT_APPLICABLE);
  }
  return *found;
}

}  // namespace msg_consumer::service
