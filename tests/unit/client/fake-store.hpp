// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_STORE_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_STORE_HPP

// The store's queries and tests as this executable defines them in the store library's place. Each query notes its
// call, fills its output from what is given here whatever the result, and returns `result`.

#include <functional>
#include <string>
#include <vector>

#include <msg-consumer-common/db.h>

namespace fake {

struct Store {
  // What a test sets.
  int result = 0;
  bool numbersync_supported = true;
  bool wpc_mode = false;
  int found_thread_id = 0;
  bool catalogue_has_names = true;
  bool catalogue_has_formats = true;
  std::string format_override;  ///< what the catalogue says instead of the true format, unless empty
  std::vector<msg_consumer::Message> messages;
  std::vector<msg_consumer::Thread> threads;
  std::vector<msg_consumer::Conversation> conversations;
  std::vector<msg_consumer::Address> addresses;
  std::vector<msg_consumer::Content> contents;
  std::vector<msg_consumer::NmsMsgMeta> metas;
  unsigned long long noti_index = 0;
  std::string restart_token;
  std::string serialised = "serialised";  ///< what both serialisers make
  int serialised_length = 10;             ///< what they return

  // What a test reads: every call in order, for example "db_get_message(7)".
  std::vector<std::string> calls;
  msg_consumer::ListCondition condition;         ///< of the last message list
  std::vector<msg_consumer::Address> looked_up;  ///< by the last look-up of a thread
  int numbersync_asked = 0;
  std::function<void()> on_deinit;  ///< called by deinit_db()
  std::vector<const void*> serialised_records;

  void reset() { *this = Store(); }
};

Store& store();

}  // namespace fake

#endif
