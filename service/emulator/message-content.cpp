// SPDX-License-Identifier: Apache-2.0
#include "message-content.hpp"

#include <algorithm>

#include "attachments.hpp"
#include "record-values.hpp"
#include "status.hpp"

namespace msg_consumer::service::emulator {
namespace {

bool is_file(const Part& part) { return !part.text; }

void append(Message& message, const Part& part, const IncomingFiles::File* file) {
  const std::size_t size = file != nullptr ? static_cast<std::size_t>(file->size) : part.text->size();
  Content& content = append_part(message, part.mime_type, static_cast<std::int64_t>(size));
  content.str_h = part.name;
  if (file != nullptr) {
    content.status = Content::STATUS_DONE;
    content.str_g = file->stored_path;
  } else {
    content.str_l = *part.text;
  }
}

}  // namespace

IncomingFiles stage_files(const ContentFiles& files, const std::vector<Part>& parts) {
  if (std::none_of(parts.begin(), parts.end(), is_file)) {
    return {};
  }
  std::size_t total = 0;
  for (const Part& part : parts) {
    total += part.bytes.size();
  }
  require(total <= static_cast<std::size_t>(ContentFiles::MAX_TOTAL_SIZE), STATUS_FILE_TOO_LARGE);
  IncomingFiles staged = files.stage();
  for (const Part& part : parts) {
    if (is_file(part)) {
      staged.begin(part.name);
      staged.append(part.bytes);
      staged.finish();
    }
  }
  return staged;
}

void add_content(Message& message, const Receive& receive, const ContentFiles& files, IncomingFiles& staged,
                 int message_id) {
  message.str_d = receive.text;
  message.num_q = 0;
  if (message.num_c == TYPE_MMS || !receive.parts.empty()) {
    append_text_part(message);
  }
  files.place(staged, message_id, message.contents.size() + 1);
  auto file = staged.files().begin();
  for (const Part& part : receive.parts) {
    append(message, part, is_file(part) ? &*file++ : nullptr);
  }
}

}  // namespace msg_consumer::service::emulator
