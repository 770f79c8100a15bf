// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_EMULATOR_ON_BUS_HPP
#define MSG_CONSUMER_TESTS_EMULATOR_ON_BUS_HPP

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-platform/preference.h>
#include <msg-consumer/msg-consumer-client.h>

#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

#include "support/environment.hpp"
#include "support/private-bus.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {

using Json = nlohmann::ordered_json;

/// What a method of the emulator came back with: a text, or an error.
struct Answer {
  std::string text;
  std::string error;
};

inline constexpr const char* EMULATOR_INTERFACE = "com.velmora.message.consumer.emulator";
inline constexpr const char* SERVICE_INTERFACE = "com.velmora.message.consumer.server";

/// A connection of its own, which calls the emulator's interface.
class EmulatorClient {
 public:
  explicit EmulatorClient(const std::string& address)
      : _connection(g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)) {}

  ~EmulatorClient() { g_dbus_connection_close_sync(_connection.get(), nullptr, nullptr); }
  EmulatorClient(const EmulatorClient&) = delete;
  EmulatorClient& operator=(const EmulatorClient&) = delete;

  Answer call(const char* method, GVariant* arguments, const char* interface = EMULATOR_INTERFACE) {
    GError* raw_error = nullptr;
    const Owned<GVariant, g_variant_unref> reply(g_dbus_connection_call_sync(
        _connection.get(), "com.velmora.message.consumer", "/com/velmora/message/consumer", interface, method,
        arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 30'000, nullptr, &raw_error));
    const Owned<GError, g_error_free> error(raw_error);
    if (error) {
      return {.text = "", .error = error->message};
    }
    const char* text = "";
    if (g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(s)"))) {
      g_variant_get(reply.get(), "(&s)", &text);
    }
    return {.text = text, .error = ""};
  }

  Answer try_to(const Json& step) { return call("perform", g_variant_new("(s)", step.dump().c_str())); }

  /// Performs a step that must succeed.
  Json perform(const Json& step) {
    const Answer answer = try_to(step);
    EXPECT_EQ(answer.error, "") << step;
    return answer.error.empty() ? Json::parse(answer.text) : Json();
  }
  Json state() { return Json::parse(call("get_state", nullptr).text); }
  void reset() { EXPECT_EQ(call("reset", nullptr).error, ""); }

 private:
  Owned<GDBusConnection, g_object_unref> _connection;
};

/// The client library, and the emulator on a bus of its own.
class EmulatorOnBus : public testing::Test {
 protected:
  EmulatorOnBus() { events().clear(); }
  ~EmulatorOnBus() override {
    msg_consumer_event_unsubscribe(MSG_CONSUMER_EVENT_STORAGE_CHANGED, on_event);
    msg_consumer_event_unsubscribe(MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT, on_event);
    msg_consumer_event_unsubscribe(MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED, on_event);
    msg_consumer_disconnect();
  }

  /// Starts the emulator with these steps, waits for it and connects.
  void start(const std::vector<Json>& steps = {}) {
    launch(steps);
    ASSERT_TRUE(wait_until([] { return readiness() == 1; })) << process->standard_error();
    ASSERT_EQ(msg_consumer_connect(), 0);
    msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_STORAGE_CHANGED, on_event, nullptr);
    msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_STORE_MESSAGE_RESULT, on_event, nullptr);
    msg_consumer_event_subscribe(MSG_CONSUMER_EVENT_GROUPCHAT_STATE_CHANGED, on_event, nullptr);
    emulator = std::make_unique<EmulatorClient>(bus.address());
  }
  void launch(const std::vector<Json>& steps) {
    write_file(scenario, Json{{"version", 1}, {"steps", steps}}.dump());
    process = std::make_unique<Process>(std::vector<std::string>{EMULATOR_PROGRAM, "--scenario", scenario});
  }

  static int readiness() {
    int value = -1;
    preference_get_int("consumer_preference_int_consumer_status", &value);
    return value;
  }

  static int send(const std::string& recipients, const std::string& text) {
    int id = 0;
    EXPECT_EQ(msg_consumer_send_message(0, recipients.c_str(), text.c_str(), 1, &id), 0);
    return id;
  }

  /// A copy of what an application reads, in JSON.
  static Json message(int id) {
    auto* record = static_cast<msg_message_item_t*>(std::calloc(1, sizeof(msg_message_item_t)));
    Json json;
    if (msg_consumer_get_message(id, 0, 0, record) == 0) {
      json = copied(*record);
    }
    msg_consumer_free_message_info(&record);
    return json;
  }
  static std::vector<Json> messages(const std::string& keyword = "") {
    auto* list = static_cast<msg_list_handle_t*>(std::calloc(1, sizeof(msg_list_handle_t)));
    std::string text = keyword;
    msg_list_condition_t condition = {};
    condition.keyword = keyword.empty() ? nullptr : text.data();
    condition.flag_5 = 1;
    std::vector<Json> result;
    if (msg_consumer_get_message_list(list, &condition) == 0) {
      for (const GSList* node = list->list; node != nullptr; node = node->next) {
        result.push_back(copied(*static_cast<const msg_message_item_t*>(node->data)));
      }
    }
    msg_consumer_free_message_list(&list);
    return result;
  }

  /// Every event that has arrived.
  static std::vector<std::string>& events() {
    static std::vector<std::string> received;
    return received;
  }
  static bool hears(std::size_t count) {
    return iterate_until([&] { return events().size() >= count; });
  }
  /// Whether an event with this in its text has come, or comes.
  static bool hears(const std::string& part) {
    return iterate_until([&] {
      for (const std::string& event : events()) {
        if (event.find(part) != std::string::npos) {
          return true;
        }
      }
      return false;
    });
  }
  static bool becomes(int id, const char* member, const Json& value) {
    return iterate_until([&] { return message(id)[member] == value; });
  }

  TempDir folder;
  std::string scenario = folder.file("scenario.json");
  EnvironmentVariable database{"MSG_CONSUMER_DB", folder.file("messages.db")};
  EnvironmentVariable files{"MSG_CONSUMER_FILES", folder.file("files")};
  EnvironmentVariable preferences{"MSG_CONSUMER_PREFERENCES", folder.file("preferences.ini")};
  PrivateBus bus;
  std::unique_ptr<Process> process;
  std::unique_ptr<EmulatorClient> emulator;

 private:
  static void on_event(const char* data, void* /*user_data*/) {
    events().emplace_back(data != nullptr ? data : "(null)");
  }
  static Json copied(const msg_message_item_t& record);
};

}  // namespace msg_consumer::test

#endif
