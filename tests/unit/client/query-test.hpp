// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_QUERY_TEST_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_QUERY_TEST_HPP

#include <cstdlib>
#include <functional>
#include <string>

#include "client-test.hpp"

#include <msg-consumer/msg-consumer-client.h>

/// A list handle as an application makes one, released with its list function.
class List {
 public:
  explicit List(void (*release)(msg_list_handle_t**))
      : _handle(static_cast<msg_list_handle_t*>(std::calloc(1, sizeof(msg_list_handle_t)))), _release(release) {}
  ~List() { _release(&_handle); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  msg_list_handle_t* handle() { return _handle; }
  std::size_t size() const { return g_slist_length(_handle->list); }
  template <typename Record>
  Record* at(unsigned int index) {
    return static_cast<Record*>(g_slist_nth_data(_handle->list, index));
  }

 private:
  msg_list_handle_t* _handle;
  void (*_release)(msg_list_handle_t**);
};

/// One query of the C API with good arguments. `run` returns the status and says how many records came out.
struct QueryRow {
  const char* name;
  std::function<int(std::size_t& count)> run;
  const char* function;
  const char* query;                    ///< as the failure line names it
  const char* call;                     ///< with its argument
  bool appends_without_record = false;  ///< the list takes what the store found although it says that there is none
};

inline void PrintTo(const QueryRow& row, std::ostream* out) { *out << row.name; }

class Query : public ClientTest, public testing::WithParamInterface<QueryRow> {
 protected:
  Query() {
    // Two of each: a query of a single record takes the first.
    fake::store().messages.resize(2);
    fake::store().threads.resize(2);
    fake::store().conversations.resize(2);
    fake::store().addresses.resize(2);
    fake::store().metas.resize(2);
    for (int i = 0; i < 2; ++i) {
      fake::store().messages[i].id = i + 1;
      fake::store().threads[i].id = i + 1;
      fake::store().conversations[i].id = i + 1;
      fake::store().addresses[i].num_a = i + 1;
      fake::store().metas[i].msgId = i + 1;
    }
  }
};

template <typename Record, typename Read>
int read_one(std::size_t& count, Read read, void (*release)(Record**), int Record::*id) {
  auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
  const int status = read(record);
  count = record->*id != 0 ? 1 : 0;
  release(&record);
  return status;
}

template <typename Read>
int read_list(std::size_t& count, Read read, void (*release)(msg_list_handle_t**)) {
  List list(release);
  const int status = read(list.handle());
  count = list.size();
  return status;
}

/// A query with a missing argument and the line that refuses it.
struct MissingRow {
  const char* name;
  std::function<int()> run;
  const char* function;
  const char* error;
};

inline void PrintTo(const MissingRow& row, std::ostream* out) { *out << row.name; }

class MissingOutput : public ClientTest, public testing::WithParamInterface<MissingRow> {};

#endif
