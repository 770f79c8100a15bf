// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>
#include <msg-consumer-common/msg-serialize.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "named-row.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "test-store.hpp"

namespace {

// Counts down to the allocation that fails; negative when none is to fail.
thread_local int allocations_left = -1;

}  // namespace

// Replaces the library's too. NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
void* operator new(std::size_t size) {
  void* memory = allocations_left >= 0 && allocations_left-- == 0 ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

namespace msg_consumer::db {
namespace {

using test::TestStore;

/// Makes the first allocation of `query` fail, then in another run the second, until there is none left to fail.
/// Returns how many failed.
int fail_each_allocation(const std::function<int()>& query, const std::function<bool()>& untouched) {
  for (int failures = 0;; ++failures) {
    allocations_left = failures;
    const int status = query();
    const bool failed = allocations_left < 0;
    allocations_left = -1;
    if (!failed) {
      EXPECT_EQ(status, DB_OK);
      return failures;
    }
    EXPECT_EQ(status, DB_OUT_OF_MEMORY) << failures;
    EXPECT_TRUE(untouched()) << failures;
  }
}

class OutOfMemory : public testing::Test {
 protected:
  OutOfMemory() {
    Message message = test::sample<Message>();
    message.num_b = _thread;
    _message = _store.add_message(message);
  }

  /// Fails a query that fills a list which holds one record already.
  template <typename Record>
  static int fail_list(const std::function<int(std::vector<Record>&)>& query) {
    std::vector<Record> list;
    const auto reset = [&list] {
      list.clear();
      list.push_back(test::sample<Record>());
    };
    reset();
    return fail_each_allocation([&] { return query(list); },
                                [&] { return list.size() == 1 && list.front() == test::sample<Record>(); });
  }

  template <typename Record>
  static int fail_record(const std::function<int(Record&)>& query) {
    Record record = test::sample<Record>();
    return fail_each_allocation([&] { return query(record); }, [&] { return record == test::sample<Record>(); });
  }

  TestStore _store;
  int _thread = _store.add_thread({"a first participant with a long name@example.org", "+491701234567"});
  int _message = 0;
};

TEST_F(OutOfMemory, FailsAMessageAndLeavesTheRecord) {
  EXPECT_GT(fail_record<Message>([this](Message& message) { return db_get_message(_message, message); }), 5);
}

TEST_F(OutOfMemory, FailsAConversationAndLeavesTheRecord) {
  EXPECT_GT(fail_record<Conversation>([this](Conversation& record) { return db_get_conversation(_message, record); }),
            5);
}

TEST_F(OutOfMemory, FailsAMessageListAndLeavesTheList) {
  ListCondition condition;
  condition.keyword = "body of the message";
  condition.thread_ids = {_thread, 7};
  EXPECT_GT(fail_list<Message>([&](std::vector<Message>& list) { return db_get_message_list(condition, list); }), 10);
}

TEST_F(OutOfMemory, FailsTheThreadListAndLeavesTheList) {
  EXPECT_GT(fail_list<Thread>([](std::vector<Thread>& list) { return db_get_threads(list); }), 1);
}

TEST_F(OutOfMemory, FailsTheConversationsAndLeavesTheList) {
  EXPECT_GT(
      fail_list<Conversation>([this](std::vector<Conversation>& list) { return db_get_conversations(_thread, list); }),
      5);
}

TEST_F(OutOfMemory, FailsTheAddressesAndLeavesTheList) {
  EXPECT_GT(fail_list<Address>([this](std::vector<Address>& list) { return db_get_addresses(_thread, list); }), 2);
}

TEST_F(OutOfMemory, FailsTheLookupOfAThreadAndLeavesTheId) {
  std::vector<Address> addresses(2);
  addresses[0].address = "a first participant with a long name@example.org";
  addresses[1].address = "+49 170 1234567";
  int thread = 0;
  EXPECT_GT(fail_each_allocation([&] { return db_check_thread_address_exist(addresses, &thread); },
                                 [&] { return thread == 0; }),
            2);
  EXPECT_EQ(thread, _thread);
}

TEST_F(OutOfMemory, FailsTheSerialiserAndLeavesTheOutput) {
  std::string body = "a body that does not fit into the string itself";
  msg_message_item_t message = {};
  message.text_3 = body.data();
  char* text = nullptr;
  const auto serialise = [&] { return msg_serialize_message(&message, &text) > 0 ? DB_OK : DB_OUT_OF_MEMORY; };
  EXPECT_GT(fail_each_allocation(serialise, [&] { return text == nullptr; }), 5);
  std::free(text);
}

}  // namespace
}  // namespace msg_consumer::db
