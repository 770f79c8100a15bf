// SPDX-License-Identifier: Apache-2.0
#include "msgctl/service-bus.hpp"

#include <gio/gunixfdlist.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <string_view>

#include "msgctl/bus.hpp"
#include "msgctl/failure.hpp"

namespace msgctl {
namespace {

using Value = Owned<GVariant, g_variant_unref>;
using Error = Owned<GError, g_error_free>;
using String = Owned<char, g_free>;
using Context = Owned<GMainContext, g_main_context_unref>;
using FdList = Owned<GUnixFDList, g_object_unref>;

constexpr const char* object_path = "/com/velmora/message/consumer";
constexpr const char* journal = "com.velmora.message.consumer.journal";
constexpr const char* transfer_interface = "com.velmora.message.consumer.transfer";
constexpr const char* error_prefix = "com.velmora.message.consumer.Error.";
constexpr int timeout_ms = 5000;

// The service writes and reads in small slices; whoever does nothing for so long is dead or stuck.
constexpr timeval stuck{.tv_sec = 120, .tv_usec = 0};

std::string name_of(const GError* error) {
  const String name(g_dbus_error_get_remote_error(error));
  return name ? name.get() : "";
}

bool lacks_method(const GError* error) {
  const std::string name = name_of(error);
  return name == "org.freedesktop.DBus.Error.UnknownMethod" || name == "org.freedesktop.DBus.Error.UnknownInterface" ||
         name == "org.freedesktop.DBus.Error.UnknownObject";
}

[[noreturn]] void fail(GError* error, const std::string& action) {
  const std::string name = name_of(error);
  g_dbus_error_strip_remote_error(error);
  const std::string words = "cannot " + action + ": " + error->message;
  if (name == std::string(error_prefix) + "Busy") {
    throw Failure(ExitCode::Refused, words, "Wait until it has ended.");
  }
  if (name.starts_with(error_prefix)) throw Failure(ExitCode::Failed, words);
  throw Failure(ExitCode::Unreachable, words, "'msgctl status' tells how the service is.");
}

Value call_journal(GDBusConnection* bus, const char* method, GVariant* arguments, const char* reply_type) {
  GError* raw_error = nullptr;
  const Owned<GVariantType, g_variant_type_free> type(g_variant_type_new(reply_type));
  Value reply(g_dbus_connection_call_sync(bus, service_name, object_path, journal, method, arguments, type.get(),
                                          G_DBUS_CALL_FLAGS_NONE, timeout_ms, nullptr, &raw_error));
  const Error error(raw_error);
  if (!reply && !lacks_method(error.get())) fail(error.get(), "ask for past changes");
  return reply;
}

// Owns one end of a socket.
class End {
 public:
  explicit End(int descriptor) : _descriptor(descriptor) {}
  ~End() { close(); }
  End(const End&) = delete;
  End& operator=(const End&) = delete;

  [[nodiscard]] int get() const { return _descriptor; }
  void close() {
    if (_descriptor >= 0) static_cast<void>(::close(_descriptor));
    _descriptor = -1;
  }

 private:
  int _descriptor;
};

std::array<int, 2> connected_pair() {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) {
    throw Failure(ExitCode::Failed, std::string("cannot make a socket: ") + std::strerror(errno));
  }
  for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    static_cast<void>(setsockopt(pair[0], SOL_SOCKET, option, &stuck, sizeof(stuck)));
  }
  return pair;
}

// The answer to a call that is on its way.
struct Answer {
  bool arrived = false;
  Value value;
  Error error;
};

void take_answer(GObject* bus, GAsyncResult* result, gpointer user_data) {
  auto* answer = static_cast<Answer*>(user_data);
  GError* error = nullptr;
  answer->value.reset(g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(bus), nullptr, result, &error));
  answer->error.reset(error);
  answer->arrived = true;
}

// Answers arrive here, and nowhere else.
class PrivateContext {
 public:
  PrivateContext() : _context(g_main_context_new()) { g_main_context_push_thread_default(_context.get()); }
  ~PrivateContext() { g_main_context_pop_thread_default(_context.get()); }
  PrivateContext(const PrivateContext&) = delete;
  PrivateContext& operator=(const PrivateContext&) = delete;

  void wait_for(const Answer& answer) {
    while (!answer.arrived) g_main_context_iteration(_context.get(), TRUE);
  }

 private:
  Context _context;
};

GVariant* handle_of(GUnixFDList* list, int descriptor) {
  GError* error = nullptr;
  const int index = g_unix_fd_list_append(list, descriptor, &error);
  const Error owned(error);
  if (index < 0) throw Failure(ExitCode::Failed, std::string("cannot hand over a socket: ") + owned->message);
  return g_variant_new("(h)", index);
}

}  // namespace

ServiceBus::ServiceBus() {
  std::string problem;
  _bus = open_bus(problem);
  if (!_bus) {
    throw Failure(ExitCode::Unreachable, "cannot reach the system message bus: " + problem,
                  "Start the bus, or let DBUS_SYSTEM_BUS_ADDRESS name the one to use.");
  }
}

std::optional<KeptChanges> ServiceBus::changes_after(std::int64_t revision, std::uint32_t limit) const {
  const Value reply = call_journal(_bus.get(), "get_changes",
                                   g_variant_new("(tu)", static_cast<guint64>(revision), limit), "(a(tss)tt)");
  if (!reply) return std::nullopt;
  KeptChanges kept;
  GVariantIter* raw_rows = nullptr;
  guint64 oldest = 0, newest = 0;
  g_variant_get(reply.get(), "(a(tss)tt)", &raw_rows, &oldest, &newest);
  const Owned<GVariantIter, g_variant_iter_free> rows(raw_rows);
  kept.oldest = static_cast<std::int64_t>(oldest);
  kept.newest = static_cast<std::int64_t>(newest);
  guint64 number = 0;
  const char *signal = nullptr, *text = nullptr;
  while (g_variant_iter_next(rows.get(), "(t&s&s)", &number, &signal, &text) != FALSE) {
    kept.changes.push_back({static_cast<std::int64_t>(number), signal, text});
  }
  return kept;
}

std::optional<std::vector<DeviceRequest>> ServiceBus::device_requests() const {
  const Value reply =
      call_journal(_bus.get(), "get_device_requests",
                   g_variant_new("(xu)", static_cast<gint64>(0), static_cast<guint32>(INT_MAX)), "(a(xsix))");
  if (!reply) return std::nullopt;
  std::vector<DeviceRequest> requests;
  GVariantIter* raw_rows = nullptr;
  g_variant_get(reply.get(), "(a(xsix))", &raw_rows);
  const Owned<GVariantIter, g_variant_iter_free> rows(raw_rows);
  gint64 id = 0, time_ms = 0;
  gint32 argument = 0;
  const char* request = nullptr;
  while (g_variant_iter_next(rows.get(), "(x&six)", &id, &request, &argument, &time_ms) != FALSE) {
    requests.push_back({id, request, argument, time_ms});
  }
  return requests;
}

std::string ServiceBus::transfer(Transfer direction, const std::function<void(int socket)>& work) const {
  const bool is_export = direction == Transfer::Export;
  const std::array<int, 2> pair = connected_pair();
  End ours(pair[0]), theirs(pair[1]);
  const FdList descriptors(g_unix_fd_list_new());
  GVariant* arguments = handle_of(descriptors.get(), theirs.get());
  PrivateContext context;
  Answer answer;
  g_dbus_connection_call_with_unix_fd_list(
      _bus.get(), service_name, object_path, transfer_interface, is_export ? "export_store" : "import_store", arguments,
      G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, G_MAXINT, descriptors.get(), nullptr, take_answer, &answer);
  // The end of the stream is seen when nobody else holds it: neither this process nor a message on its way.
  static_cast<void>(g_dbus_connection_flush_sync(_bus.get(), nullptr, nullptr));
  theirs.close();
  gint count = 0;
  const Owned<gint, g_free> held(g_unix_fd_list_steal_fds(descriptors.get(), &count));
  for (gint index = 0; index < count; ++index) static_cast<void>(::close(held.get()[index]));
  std::exception_ptr problem;
  try {
    work(ours.get());
  } catch (...) {
    problem = std::current_exception();
  }
  ours.close();
  context.wait_for(answer);
  if (!answer.value) {
    if (lacks_method(answer.error.get())) {
      throw Failure(ExitCode::Unsupported, "the service can neither export nor import", "A newer one can.");
    }
    fail(answer.error.get(), is_export ? "export the store" : "import");
  }
  if (problem) std::rethrow_exception(problem);
  const char* summary = "";
  g_variant_get(answer.value.get(), "(&s)", &summary);
  return summary;
}

}  // namespace msgctl
