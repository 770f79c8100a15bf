// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_CLIENTS_READER_HPP
#define MSG_CONSUMER_TESTS_CLIENTS_READER_HPP

#include <msg-consumer-common/db.h>

#include <functional>
#include <string>
#include <vector>

namespace msg_consumer::test {

/// The threads that the writer makes, in this order. The first two get messages in turn.
enum CheckedThread { FIRST_IN_TURN = 1, SECOND_IN_TURN = 2, WITH_FILES = 3 };

/// What the attachment of each message of `WITH_FILES` holds.
inline const std::string ATTACHMENT = "the bytes of an attachment";

/// Reads everything again and again while somebody writes, and looks for what cannot be.
class Reader {
 public:
  /// Makes each query once. Returns what is wrong with the answers; empty when all is well.
  std::string read_all();

  /// How long each query took, in microseconds.
  const std::vector<int>& latencies() const { return _latencies; }

 private:
  using Messages = std::vector<Message>;

  template <typename Query>
  bool ask(const char* name, Query&& query);
  void check(bool is_right, const std::string& what);

  void read_threads();
  void read_thread();
  void read_newest();
  void read_one_thread();
  void read_conversations();
  void read_keyword(const char* keyword);
  void read_message();
  Messages list(const char* name, const ListCondition& condition);
  void check_texts(const char* name, const Messages& messages);

  std::vector<int> _latencies;
  std::string _wrong;
  int _newest = 0;
};

}  // namespace msg_consumer::test

#endif
