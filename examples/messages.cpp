// SPDX-License-Identifier: Apache-2.0

// Sends a message, lists its conversation, and prints events as they arrive.
//
//     messages RECIPIENT TEXT [EVENTS]
//
// It ends after EVENTS events, by default after 4: added, sending, sent, delivered.

#include <glib.h>
#include <msg-consumer/ConnectionManager.h>
#include <msg-consumer/MessageManager.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace msg_consumer;

namespace {

struct Listener {
  std::unique_ptr<GMainLoop, void (*)(GMainLoop*)> loop{g_main_loop_new(nullptr, FALSE), g_main_loop_unref};
  long events_left = 4;
};

void print_event(const char* data, void* user_data) {
  auto& listener = *static_cast<Listener*>(user_data);
  std::cout << "event " << data << '\n';
  if (--listener.events_left <= 0) g_main_loop_quit(listener.loop.get());
}

// The service starts when it is first needed, so connecting is tried for a while.
int connect_to_service() {
  int result = ConnectionManager().connect();
  for (int attempt = 0; result != 0 && attempt < 50; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    result = ConnectionManager().connect();
  }
  return result;
}

int list_conversation(int thread_id) {
  std::vector<Conversation> conversation;
  const int result = MessageManager().getConversations(thread_id, conversation);
  for (const auto& message : conversation) {
    std::cout << (message.num_e == 1 ? "received " : "sent ") << message.id << ": " << message.str_d << '\n';
  }
  return result;
}

int send_and_list(const std::string& recipient, const std::string& text) {
  MessageManager messages;
  int id = 0;
  if (const int result = messages.sendSMS(0, recipient, text, 0, id); result != 0) return result;
  Message message;
  if (const int result = messages.getMessage(id, message); result != 0) return result;
  return list_conversation(message.num_b);
}

int run(const std::string& recipient, const std::string& text, Listener& listener) {
  if (const int result = connect_to_service(); result != 0) return result;
  if (const int result = ConnectionManager().subscribeEvent(EVENT_STORAGE_CHANGED, print_event, &listener);
      result != 0) {
    return result;
  }
  if (const int result = send_and_list(recipient, text); result != 0) return result;
  if (listener.events_left > 0) g_main_loop_run(listener.loop.get());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: " << argv[0] << " RECIPIENT TEXT [EVENTS]\n";
    return EXIT_FAILURE;
  }
  Listener listener;
  if (argc > 3) listener.events_left = std::strtol(argv[3], nullptr, 10);
  const int result = run(argv[1], argv[2], listener);
  if (result != 0) std::cerr << "failed with result " << result << '\n';
  ConnectionManager().disconnect();
  return result == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
