// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_TRANSFER_ON_BUS_HPP
#define MSG_CONSUMER_TESTS_TRANSFER_ON_BUS_HPP

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "msgctl-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {

template <typename T>
using Shared = std::unique_ptr<T, void (*)(gpointer)>;

/// A client with a connection of its own.
class Caller {
 public:
  explicit Caller(const std::string& address)
      : _bus(g_dbus_connection_new_for_address_sync(
                 address.c_str(),
                 static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                   G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                 nullptr, nullptr, nullptr),
             g_object_unref) {}

  /// What is answered, in GVariant's text; or the error's name.
  std::string call(const char* interface, const char* method, GVariant* arguments) {
    GError* error = nullptr;
    GVariant* reply =
        g_dbus_connection_call_sync(_bus.get(), "com.velmora.message.consumer", object_path, interface, method,
                                    arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 30'000, nullptr, &error);
    return text_of(reply, error);
  }

  /// Begins an export or import through a descriptor; its answer comes into `answer()`.
  void begin(const char* method, int descriptor) {
    _answer = std::make_shared<std::optional<std::string>>();
    const Shared<GUnixFDList> list(g_unix_fd_list_new(), g_object_unref);
    const int index = g_unix_fd_list_append(list.get(), descriptor, nullptr);
    g_dbus_connection_call_with_unix_fd_list(_bus.get(), "com.velmora.message.consumer", object_path,
                                             "com.velmora.message.consumer.transfer", method,
                                             g_variant_new("(h)", index), nullptr, G_DBUS_CALL_FLAGS_NONE, G_MAXINT,
                                             list.get(), nullptr, take_answer, new Answer(_answer));
    g_dbus_connection_flush_sync(_bus.get(), nullptr, nullptr);
  }
  [[nodiscard]] const std::optional<std::string>& answer() const { return *_answer; }
  bool is_answered() {
    return iterate_until([this] { return _answer->has_value(); });
  }

  /// Leaves the bus.
  void leave() { g_dbus_connection_close_sync(_bus.get(), nullptr, nullptr); }

 private:
  using Answer = std::shared_ptr<std::optional<std::string>>;

  static constexpr const char* object_path = "/com/velmora/message/consumer";

  static std::string text_of(GVariant* raw_reply, GError* raw_error) {
    const std::unique_ptr<GVariant, decltype(&g_variant_unref)> reply(raw_reply, g_variant_unref);
    const std::unique_ptr<GError, decltype(&g_error_free)> error(raw_error, g_error_free);
    if (error) {
      const std::unique_ptr<char, decltype(&g_free)> name(g_dbus_error_get_remote_error(error.get()), g_free);
      return name ? name.get() : error->message;
    }
    const std::unique_ptr<char, decltype(&g_free)> text(g_variant_print(reply.get(), FALSE), g_free);
    return text.get();
  }

  // The answer to a caller who has left comes all the same, when nobody waits for it any more.
  static void take_answer(GObject* bus, GAsyncResult* result, gpointer user_data) {
    const std::unique_ptr<Answer> answer(static_cast<Answer*>(user_data));
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(bus), nullptr, result, &error);
    **answer = text_of(reply, error);
  }

  Shared<GDBusConnection> _bus;
  Answer _answer;
};

/// Both ends of a socket.
class SocketPair {
 public:
  SocketPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, _ends.data()), 0); }
  ~SocketPair() { close(0), close(1); }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;

  [[nodiscard]] int ours() const { return _ends[0]; }
  [[nodiscard]] int theirs() const { return _ends[1]; }
  void close(std::size_t index) {
    if (_ends.at(index) >= 0) ::close(_ends.at(index));
    _ends.at(index) = -1;
  }
  void close_theirs() { close(1); }
  void close_ours() { close(0); }

  std::string read_all() {
    std::string text;
    std::array<char, 65536> buffer{};
    ssize_t count = 0;
    while ((count = read(ours(), buffer.data(), buffer.size())) > 0)
      text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
  }

 private:
  std::array<int, 2> _ends{-1, -1};
};

class TransferOnBus : public Msgctl {
 protected:
  /// An export with `count` messages, a file's path.
  std::string file_of(int count, std::size_t text_size = 10) {
    std::string text = "{\"kind\":\"store\",\"version\":1}\n";
    for (int i = 1; i <= count; ++i) {
      text += R"({"kind":"message","type":"sms","direction":"incoming","time_ms":)" + std::to_string(i) +
              R"(,"sender":"+15550100","text":")" + std::to_string(i) + std::string(text_size, 'x') + "\"}\n";
    }
    text += "{\"kind\":\"end\",\"threads\":0,\"messages\":" + std::to_string(count) + ",\"metadata\":0}\n";
    const std::string path = _folder.file("made-" + std::to_string(count) + ".jsonl");
    write_file(path, text);
    return path;
  }

  std::int64_t messages() { return msgctl({"status", "--json"}).json().at("item").at("store").at("messages"); }
};

}  // namespace msg_consumer::test

#endif
