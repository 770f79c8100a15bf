// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_TRANSFER_KNOWN_MESSAGES_HPP
#define MSG_CONSUMER_SERVICE_TRANSFER_KNOWN_MESSAGES_HPP

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "../content-files.hpp"
#include "message-digest.hpp"
#include "schema/sqlite.hpp"

namespace msg_consumer::service::transfer {

/// The messages that the store held before an import, as a multiset: each of them answers for one message of the file
/// and no more. They are read when their time is first asked for, in small steps, and each only once.
class KnownMessages {
 public:
  KnownMessages(sqlite3* database, const ContentFiles& files);

  /// Does a small step towards knowing the messages of a time; true once they are known.
  bool learn(std::int64_t time_ms);

  /// Takes one of the known messages with this digest: its id, or nothing when none is left.
  std::optional<int> take(const std::string& digest);

 private:
  // A message whose files are still to be read.
  struct Candidate {
    Message message;
    std::string chat_id;
    std::vector<std::string> digests;
    FileDescriptor file{-1};
    Hash hash;
  };

  void read_rows();
  void read_file();
  void add(const Candidate& candidate);
  bool open_next_file(Candidate& candidate);

  const ContentFiles& _files;
  schema::Statement _of_time;
  std::unordered_set<std::int64_t> _times;
  std::optional<std::int64_t> _reading;  // the time whose rows are being read
  std::int64_t _last_id = 0;
  std::deque<Candidate> _candidates;
  std::unordered_map<std::string, std::vector<int>> _ids;
};

}  // namespace msg_consumer::service::transfer

#endif
