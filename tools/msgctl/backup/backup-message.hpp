// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BACKUP_BACKUP_MESSAGE_HPP
#define MSGCTL_BACKUP_BACKUP_MESSAGE_HPP

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace msgctl {

/// The attributes of an element. "null" is how the backups write that there is none.
class Attributes {
 public:
  void set(const std::string& name, std::string_view value) { _values[name] = value; }
  /// An empty text for one that is missing.
  [[nodiscard]] std::string text(const std::string& name) const;
  [[nodiscard]] std::optional<std::int64_t> number(const std::string& name) const;
  [[nodiscard]] bool flag(const std::string& name) const { return text(name) == "1"; }

 private:
  std::map<std::string, std::string> _values;
};

/// A part of an MMS in a backup. Its data stays base64, without blanks.
struct BackupPart {
  Attributes attributes;
  std::string data;
};

/// An "<sms>" or "<mms>" with what stands in it.
struct BackupMessage {
  bool is_mms = false;
  Attributes attributes;
  std::vector<BackupPart> parts;
  std::vector<Attributes> addresses;
};

/// A message as the lines that an import takes, and whom the thread is with.
struct ConvertedMessage {
  std::vector<std::string> participants;
  std::string json;                ///< an object that still lacks its thread
  std::vector<std::string> files;  ///< the base64 of each file, in the parts' order
};

/// Converts a message. Where it cannot be, there is nothing, and `reason` is a word that says why.
std::optional<ConvertedMessage> converted(const BackupMessage& message, int thread_id, std::string& reason);

/// Whom the thread of a message is with: each correspondent once.
std::vector<std::string> participants_of(const BackupMessage& message);

/// What two writings of an address have in common.
std::string comparable_address(std::string_view address);

/// The number of bytes that a text in base64 stands for; nothing for other text.
std::optional<std::size_t> base64_size(std::string_view text);

}  // namespace msgctl

#endif
