// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <thread>

#include "client-with-service.hpp"

using namespace msg_consumer::test;

namespace {

using Robustness = ClientWithService;

TEST_F(Robustness, TheNextCallAfterTheBusWasRestartedSucceeds) {
  connect();
  ASSERT_EQ(msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_STORAGE_CHANGED, on_event, nullptr), 0);
  const int before = send("+49170", "before");
  bus.kill();
  bus.start();
  const int after = send("+49170", "after");
  EXPECT_GT(after, before);
  OwnedMessage message;
  EXPECT_EQ(msg_consumer_get_message(before, 0, 0, message.get()), 0) << "what was acknowledged is still there";

  events().clear();
  const int last = send("+49170", "last");
  const auto times_announced = [&] {
    return std::count_if(events().begin(), events().end(), [&](const auto& event) {
      return event["event"] == "added" && event["message_ids"] == nlohmann::json::array({last});
    });
  };
  EXPECT_TRUE(iterate_until([&] { return times_announced() > 0; }));
  iterate_until([&] { return !events().empty() && events().back()["event"] == "changed"; });
  EXPECT_EQ(times_announced(), 1) << "an event arrives once";
}

TEST_F(Robustness, FourThreadsReadWhileAnotherSendsAndAFifthIterates) {
  std::atomic<bool> done = false;
  std::atomic<int> received = 0;
  // The callbacks run on the thread whose context was current when the library connected.
  std::thread listener([&] {
    const std::unique_ptr<GMainContext, void (*)(GMainContext*)> context(g_main_context_new(), g_main_context_unref);
    g_main_context_push_thread_default(context.get());
    connect();
    msg_consumer_event_subscribe(
        MSG_CONSUMER_EVENT_STORAGE_CHANGED, [](const char*, void* count) { ++*static_cast<std::atomic<int>*>(count); },
        &received);
    std::thread sender([&] {
      for (int i = 0; i < 200; ++i) send("+4917" + std::to_string(i % 7), "text " + std::to_string(i));
      done = true;
    });
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 4; ++reader) {
      readers.emplace_back([&] {
        do {
          ThreadList threads;
          msg_consumer_get_thread_view_list(threads.get());
          MessageList messages;
          msg_list_condition_t condition = {};
          std::string keyword = "text";
          condition.keyword = keyword.data();
          condition.num_2 = 50;
          msg_consumer_get_message_list(messages.get(), &condition);
          for (const auto* message : elements<msg_message_item_t>(messages)) {
            EXPECT_EQ(std::string(message->text_3).rfind("text ", 0), 0U);
          }
        } while (!done);
      });
    }
    iterate_until([&] { return done && received >= 200; }, std::chrono::seconds(60));
    sender.join();
    for (auto& reader : readers) reader.join();
    msg_consumer_disconnect();
    g_main_context_pop_thread_default(context.get());
  });
  listener.join();
  EXPECT_GE(received, 200);
  MessageList messages;
  msg_list_condition_t condition = {};
  ASSERT_EQ(msg_consumer_get_message_list(messages.get(), &condition), 0);
  EXPECT_EQ(elements<msg_message_item_t>(messages).size(), 200U);
}

TEST_F(Robustness, APreferenceFileWithGarbageIsAnErrorAndStaysAsItIs) {
  connect();
  msg_consumer_disconnect();
  const std::string garbage = "this is no key file\n";
  write_file(folder.file("preferences.ini"), garbage);
  EXPECT_EQ(msg_consumer_connect(), MSG_CONSUMER_ERROR_OPERATION_FAILED);
  EXPECT_EQ(read_file(folder.file("preferences.ini")), garbage);
  std::filesystem::remove(folder.file("preferences.ini"));
  EXPECT_EQ(preference_set_int("consumer_preference_int_consumer_status", 1), 0);
}

TEST_F(Robustness, ADatabaseThatIsMissingIsAnErrorAndNotAnEmptyList) {
  ThreadList threads;
  EXPECT_EQ(msg_consumer_get_thread_view_list(threads.get()), MSG_CONSUMER_ERROR_OPERATION_FAILED);
  EXPECT_EQ(threads->list, nullptr);
}

TEST_F(Robustness, ADatabaseThatIsTruncatedIsAnErrorAndNotAnEmptyList) {
  connect();
  send("+49170", "hello");
  msg_consumer_disconnect();
  const std::string copy = folder.file("truncated.db");
  std::filesystem::copy_file(folder.file("messages.db"), copy);
  std::filesystem::resize_file(copy, 5000);
  const EnvironmentVariable truncated("MSG_CONSUMER_DB", copy);
  ThreadList threads;
  EXPECT_EQ(msg_consumer_get_thread_view_list(threads.get()), MSG_CONSUMER_ERROR_OPERATION_FAILED);
}

}  // namespace
