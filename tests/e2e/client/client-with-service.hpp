// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_E2E_CLIENT_CLIENT_WITH_SERVICE_HPP
#define MSG_CONSUMER_TESTS_E2E_CLIENT_CLIENT_WITH_SERVICE_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/preference.h>
#include <msg-consumer/msg-consumer-client.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {

/// A record as an application makes it, released by its function.
template <typename Record, void (*release)(Record**)>
class Owner {
 public:
  Owner() : _record(static_cast<Record*>(std::calloc(1, sizeof(Record)))) {}
  ~Owner() { release(&_record); }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;

  Record* get() { return _record; }
  Record* operator->() { return _record; }

 private:
  Record* _record;
};

using OwnedMessage = Owner<msg_message_item_t, msg_consumer_free_message_info>;
using OwnedThread = Owner<msg_thread_view_t, msg_consumer_free_thread_info>;
using MessageList = Owner<msg_list_handle_t, msg_consumer_free_message_list>;
using ThreadList = Owner<msg_list_handle_t, msg_consumer_free_thread_list>;
using ConversationList = Owner<msg_list_handle_t, msg_consumer_free_conversation_list>;
using AddressList = Owner<msg_list_handle_t, msg_consumer_free_address_list>;

template <typename Element, typename List>
std::vector<const Element*> elements(List& list) {
  std::vector<const Element*> result;
  for (const GSList* node = list->list; node != nullptr; node = node->next) {
    result.push_back(static_cast<const Element*>(node->data));
  }
  return result;
}

/// The client library with the real store and platform, on a private bus that starts the real service on demand.
class ClientWithService : public testing::Test {
 protected:
  ClientWithService() {
    bus.add_activatable_service("com.velmora.message.consumer", SERVICE_PROGRAM);
    events().clear();
  }
  ~ClientWithService() override {
    msg_consumer_disconnect();
    // The service ends with its bus, and then says that it is not ready any more.
    bus.stop();
    wait_until([] { return readiness() == 0; });
  }

  static int readiness() {
    int value = -1;
    preference_get_int("consumer_preference_int_consumer_status", &value);
    return value;
  }

  /// As an application connects: again and again until the service is ready.
  static void connect() {
    ASSERT_TRUE(wait_until([] { return msg_consumer_connect() == 0; }));
  }

  static int send(const std::string& recipients, const std::string& text, int thread_id = 0) {
    int id = 0;
    EXPECT_EQ(msg_consumer_send_message(thread_id, recipients.c_str(), text.c_str(), 1, &id), 0);
    return id;
  }

  /// Every event that has arrived, of whatever type.
  static std::vector<nlohmann::json>& events() {
    static std::vector<nlohmann::json> received;
    return received;
  }
  static void on_event(const char* data, void* /*user_data*/) { events().push_back(nlohmann::json::parse(data)); }

  TempDir folder;
  EnvironmentVariable database{"MSG_CONSUMER_DB", folder.file("messages.db")};
  EnvironmentVariable files{"MSG_CONSUMER_FILES", folder.file("files")};
  EnvironmentVariable preferences{"MSG_CONSUMER_PREFERENCES", folder.file("preferences.ini")};
  PrivateBus bus;
};

}  // namespace msg_consumer::test

#endif
