// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SRC_IPC_REQUEST_HPP
#define MSG_CONSUMER_SRC_IPC_REQUEST_HPP

// The frame that every operation of every request class shares: proxy, method name, format, tuple, call.

#include <glib.h>

#include <string>

#include <msg-consumer-common/MsgIPC.h>
#include <msg-consumer/ipc/IPCProxy.h>

#include <msg-consumer-platform/logging.hpp>
#include "GLibOwners.hpp"
#include "Results.hpp"

namespace msg_consumer {

inline Variant own(GVariant* floating) { return Variant(floating != nullptr ? g_variant_ref_sink(floating) : nullptr); }

/// How a C++ type travels: its format character, whether a value may be sent, and what `g_variant_new` takes for it.
template <typename T>
struct Packing;

template <typename T, char format>
struct NumberPacking {
  static constexpr char FORMAT = format;
  static bool is_sendable(T) { return true; }
  static T argument(T value) { return value; }
};
template <>
struct Packing<int> : NumberPacking<int, 'i'> {};
template <>
struct Packing<bool> : NumberPacking<bool, 'b'> {};
template <>
struct Packing<unsigned long long> : NumberPacking<unsigned long long, 't'> {};

template <>
struct Packing<std::string> {
  static constexpr char FORMAT = 's';
  // GLib would send "[Invalid UTF-8]" in the text's place, and cut it at a NUL.
  static bool is_sendable(const std::string& text) {
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
  }
  static const char* argument(const std::string& text) { return text.c_str(); }
};

template <>
struct Packing<Variant> {
  static constexpr char FORMAT = 'v';
  static bool is_sendable(const Variant& value) { return value != nullptr; }
  static GVariant* argument(const Variant& value) { return value.get(); }
};

/// Builds the argument tuple. Null when the values' types are not those of `format`, when a text is not UTF-8, or when
/// GLib fails.
template <typename... Values>
Variant pack(const std::string& format, const Values&... values) {
  const char types[] = {'(', Packing<Values>::FORMAT..., ')', '\0'};
  if (format != types || !(Packing<Values>::is_sendable(values) && ...)) return nullptr;
  return own(g_variant_new(format.c_str(), Packing<Values>::argument(values)...));
}

/// The texts that tell a failed look-up; the families of requests do not agree on them.
struct LookupTexts {
  const char* name_failed;
  const char* format_failed;
};
inline constexpr LookupTexts ORDINARY_LOOKUP = {"[ERROR] IPCProxy::getIpcCmdString() failed!",
                                                "[ERROR] IPCProxy::getIpcCmdStruct() failed!"};

/// What every request begins with: the proxy and the command's method name, which `send` is called with.
template <typename Send>
int with_method(const CallSite& site, const LookupTexts& texts, MsgIPC::IpcCommand command, Send send) {
  IPCProxy* const proxy = IPCProxy::getInstance();
  if (proxy == nullptr) {
    LOG_ERROR(site, "[ERROR] IPCProxy::getInstance() failed!");
    return RESULT_NO_RESOURCE;
  }
  const std::string method = proxy->getCmdString(command);
  if (method.empty()) {
    LOG_ERROR(site, "%s", texts.name_failed);
    return RESULT_INVALID_ARGUMENT;
  }
  return send(*proxy, method);
}

/// Runs one command. `build` makes the argument tuple from the catalogue's format.
template <typename Build>
int request_built(const CallSite& site, const LookupTexts& texts, MsgIPC::IpcCommand command, int* out, Build build) {
  return with_method(site, texts, command, [&](IPCProxy& proxy, const std::string& method) {
    const std::string format = proxy.getCmdStruct(command);
    if (format.empty()) {
      LOG_ERROR(site, "%s", texts.format_failed);
      return RESULT_INVALID_ARGUMENT;
    }
    // The reference is ours, so that nothing leaks where the call leaves the tuple alone.
    const Variant params = build(format);
    if (!params) {
      LOG_ERROR(site, "[ERROR] g_variant_new() failed!");
      return RESULT_NO_RESOURCE;
    }
    return proxy.callSync(method, params.get(), out);
  });
}

/// Runs one command that has no arguments: no format is looked up and no body is sent.
inline int request_without_body(const CallSite& site, const LookupTexts& texts, MsgIPC::IpcCommand command) {
  return with_method(site, texts, command, [](IPCProxy& proxy, const std::string& method) {
    return proxy.callSync(method, nullptr, nullptr);
  });
}

/// Runs one ordinary command with these values as its arguments.
template <typename... Values>
int request(const CallSite& site, MsgIPC::IpcCommand command, int* out, const Values&... values) {
  return request_built(site, ORDINARY_LOOKUP, command, out,
                       [&](const std::string& format) { return pack(format, values...); });
}

}  // namespace msg_consumer

#endif
