// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_BUS_FAKE_SERVICE_HPP
#define MSG_CONSUMER_TESTS_BUS_FAKE_SERVICE_HPP

#include <gio/gio.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

namespace msg_consumer::test {

/// A service that owns the message consumer's name on a bus and says what a test tells it to. It answers on GIO's
/// worker thread, so the test's own thread may block in a call.
class FakeService {
 public:
  /// A call as it came over the wire.
  struct Call {
    std::string method;
    std::string type;    ///< the body's type, empty when there is none
    std::string params;  ///< the body as text
    std::string bytes;   ///< of the byte array that is boxed in the body, if there is one
  };

  /// What to answer: a floating or owned tuple, or nothing to leave the call unanswered.
  using Script = std::function<GVariant*(const Call&)>;

  explicit FakeService(const std::string& address);
  ~FakeService();
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

  void answer(Script script);
  void answer_status(int status);
  void answer_id_and_status(int id, int status);
  /// Answers with a D-Bus error.
  void answer_error(const std::string& name, const std::string& text);

  /// Emits a signal; `parameters` is consumed.
  void emit(const char* member, GVariant* parameters, const char* interface = "com.velmora.message.consumer.server",
            const char* path = "/com/velmora/message/consumer");

  [[nodiscard]] std::vector<Call> calls() const;

 private:
  static GDBusMessage* on_message(GDBusConnection* connection, GDBusMessage* message, gboolean incoming,
                                  gpointer user_data);
  void handle(GDBusMessage* message);

  mutable std::mutex _mutex;
  Script _script;
  std::string _error_name, _error_text;
  std::vector<Call> _calls;
  Owned<GDBusConnection, g_object_unref> _connection;
  unsigned int _filter = 0;
};

}  // namespace msg_consumer::test

#endif
