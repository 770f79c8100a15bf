// SPDX-License-Identifier: Apache-2.0
#include "fake-service.hpp"

#include <atomic>
#include <stdexcept>

namespace msg_consumer::test {

namespace {

using Message = Owned<GDBusMessage, g_object_unref>;
using Variant = Owned<GVariant, g_variant_unref>;
using Error = Owned<GError, g_error_free>;

constexpr auto CLIENT_FLAGS = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                                G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

void check(GError* failure) {
  if (const Error error(failure); error) throw std::runtime_error(error->message);
}

// Hands the service from the test's thread to GIO's worker, in a way that a race detector sees although it does not
// look into GIO. There is one at a time.
std::atomic<FakeService*> current = nullptr;

/// The bytes of the first variant "(ay)" in a tuple.
std::string boxed_bytes(GVariant* tuple) {
  for (gsize i = 0; i < g_variant_n_children(tuple); ++i) {
    const Variant child(g_variant_get_child_value(tuple, i));
    if (!g_variant_is_of_type(child.get(), G_VARIANT_TYPE_VARIANT)) continue;
    const Variant value(g_variant_get_variant(child.get()));
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE("(ay)"))) continue;
    const Variant array(g_variant_get_child_value(value.get(), 0));
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_variant_get_fixed_array(array.get(), &size, 1));
    return {bytes, size};
  }
  return {};
}

}  // namespace

FakeService::FakeService(const std::string& address) {
  GError* failure = nullptr;
  _connection.reset(g_dbus_connection_new_for_address_sync(address.c_str(), CLIENT_FLAGS, nullptr, nullptr, &failure));
  check(failure);
  answer_status(0);
  current = this;
  _filter = g_dbus_connection_add_filter(_connection.get(), on_message, nullptr, nullptr);
  constexpr unsigned int DO_NOT_QUEUE = 4;
  const Variant reply(g_dbus_connection_call_sync(
      _connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", "com.velmora.message.consumer", DO_NOT_QUEUE), G_VARIANT_TYPE("(u)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &failure));
  check(failure);
}

FakeService::~FakeService() {
  g_dbus_connection_remove_filter(_connection.get(), _filter);
  g_dbus_connection_close_sync(_connection.get(), nullptr, nullptr);
  // A filter that is running when it is removed still ends its work.
  const std::lock_guard lock(_mutex);
}

void FakeService::answer(Script script) {
  const std::lock_guard lock(_mutex);
  _script = std::move(script);
  _error_name.clear();
}

void FakeService::answer_status(int status) {
  answer([status](const Call&) { return g_variant_new("(i)", status); });
}

void FakeService::answer_id_and_status(int id, int status) {
  answer([id, status](const Call&) { return g_variant_new("(ii)", id, status); });
}

void FakeService::answer_error(const std::string& name, const std::string& text) {
  const std::lock_guard lock(_mutex);
  _error_name = name;
  _error_text = text;
}

void FakeService::emit(const char* member, GVariant* parameters, const char* interface, const char* path) {
  GError* failure = nullptr;
  g_dbus_connection_emit_signal(_connection.get(), nullptr, path, interface, member, parameters, &failure);
  check(failure);
  g_dbus_connection_flush_sync(_connection.get(), nullptr, &failure);
  check(failure);
}

std::vector<FakeService::Call> FakeService::calls() const {
  const std::lock_guard lock(_mutex);
  return _calls;
}

GDBusMessage* FakeService::on_message(GDBusConnection* /*connection*/, GDBusMessage* message, gboolean incoming,
                                      gpointer /*user_data*/) {
  const char* const interface = g_dbus_message_get_interface(message);
  if (incoming == FALSE || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
      interface == nullptr || std::string(interface) != "com.velmora.message.consumer.server") {
    return message;
  }
  const Message taken(message);
  current.load()->handle(taken.get());
  return nullptr;
}

void FakeService::handle(GDBusMessage* message) {
  const std::lock_guard lock(_mutex);
  GVariant* const body = g_dbus_message_get_body(message);
  Call call{g_dbus_message_get_member(message), "", "", ""};
  if (body != nullptr) {
    const Owned<char, g_free> printed(g_variant_print(body, FALSE));
    call.type = g_variant_get_type_string(body);
    call.params = printed.get();
    call.bytes = boxed_bytes(body);
  }
  _calls.push_back(call);
  Message reply;
  if (!_error_name.empty()) {
    reply.reset(g_dbus_message_new_method_error_literal(message, _error_name.c_str(), _error_text.c_str()));
  } else if (GVariant* const tuple = _script(call); tuple != nullptr) {
    reply.reset(g_dbus_message_new_method_reply(message));
    g_dbus_message_set_body(reply.get(), tuple);
  }
  if (reply) {
    g_dbus_connection_send_message(_connection.get(), reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  }
}

}  // namespace msg_consumer::test
