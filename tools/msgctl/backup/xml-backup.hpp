// SPDX-License-Identifier: Apache-2.0
#ifndef MSGCTL_BACKUP_XML_BACKUP_HPP
#define MSGCTL_BACKUP_XML_BACKUP_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace msgctl {

/// What became of the messages of a backup.
struct BackupCounts {
  std::int64_t messages = 0;                    ///< converted
  std::map<std::string, std::int64_t> skipped;  ///< by reason
};

/// Fills a buffer and returns how many bytes it holds, 0 at the end.
using ReadBytes = std::function<std::size_t(char* buffer, std::size_t size)>;
/// Takes a line with its end; false when nobody wants more.
using WriteLine = std::function<bool(const std::string& line)>;

/// Turns an XML backup, "<smses>" with "<sms>" and "<mms>", into the lines that an import takes; see
/// docs/export-format.md. Reads and writes as a stream. Throws a Failure, which names line and column, for XML that is
/// broken, for another document and for one that declares a document type.
BackupCounts convert_backup(const ReadBytes& read, const WriteLine& write);

}  // namespace msgctl

#endif
