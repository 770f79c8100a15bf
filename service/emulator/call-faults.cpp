// SPDX-License-Identifier: Apache-2.0
#include "call-faults.hpp"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "bus-interface.hpp"
#include "bus-names.hpp"
#include "remaining.hpp"

namespace msg_consumer::service::emulator {
namespace {

/// An error of the bus library, released.
class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&_error); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  sd_bus_error* get() { return &_error; }

 private:
  sd_bus_error _error = {};
};

void check_sent(int result) {
  if (result < 0) {
    LOG_ERROR(HERE, "[ERROR] cannot answer a call: (%d)", result);
  }
}

[[noreturn]] void die() {
  // Nothing is tidied up: that is what this is for.
  static_cast<void>(kill(getpid(), SIGKILL));
  for (;;) {
    pause();
  }
}

void answer_status(const Call& call, int status) {
  check_sent(call.makes_message ? sd_bus_reply_method_return(call.message, "ii", 0, status)
                                : sd_bus_reply_method_return(call.message, "i", status));
}

void answer_error(const Call& call, const CallFault::Error& error) {
  BusError failure;
  sd_bus_error_set(failure.get(), error.name.c_str(), error.message.c_str());
  check_sent(sd_bus_reply_method_error(call.message, failure.get()));
}

void answer_nonsense(sd_bus_message* call, CallFault::Reply reply) {
  check_sent(reply == CallFault::Reply::EMPTY ? sd_bus_reply_method_return(call, nullptr)
                                              : sd_bus_reply_method_return(call, "s", "nonsense"));
}

bool is_method(std::string_view name) {
  const std::vector<std::string_view> known = BusInterface::methods();
  return std::find(known.begin(), known.end(), name) != known.end();
}

template <typename... Handlers>
struct Overloaded : Handlers... {
  using Handlers::operator()...;
};
template <typename... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace

void CallFaults::watch(sd_bus* bus) {
  _filter.reset();
  if (bus == nullptr) {
    return;
  }
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_add_filter(bus, &slot, on_message, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot look at the bus's messages");
  }
  _filter.reset(slot);
}

int CallFaults::on_message(sd_bus_message* message, void* self, sd_bus_error* /*error*/) noexcept try {
  const bool is_call = sd_bus_message_is_method_call(message, INTERFACE_NAME, nullptr) > 0;
  return is_call && static_cast<CallFaults*>(self)->answer_with_nonsense(message) ? 1 : 0;
} catch (const std::exception& error) {
  LOG_ERROR(HERE, "[ERROR] cannot look at a call: %s", error.what());
  return 0;
}

bool CallFaults::answer_with_nonsense(sd_bus_message* message) {
  const std::string method = sd_bus_message_get_member(message);
  const auto armed = find(method);
  if (armed == _armed.end() || !std::holds_alternative<CallFault::Reply>(armed->fault.effect) || !is_method(method)) {
    return false;
  }
  ++_seen[method];
  answer_nonsense(message, std::get<CallFault::Reply>(take(method)->effect));
  _answered(method);
  return true;
}

int CallFaults::pass(const Call& call, sd_bus_error* /*error*/) {
  const std::string method = sd_bus_message_get_member(call.message);
  ++_seen[method];
  if (const std::optional<CallFault> fault = take(method)) {
    spoil(*fault, call);
  } else {
    run(call);
  }
  // Answered, or never to be.
  return 1;
}

void CallFaults::spoil(const CallFault& fault, const Call& call) {
  const auto answered = [&](auto&& answer, const auto& with) {
    answer(call, with);
    _answered(sd_bus_message_get_member(call.message));
  };
  std::visit(Overloaded{
                 [&](const CallFault::Status& status) { answered(answer_status, status.status); },
                 [&](const CallFault::Error& error) { answered(answer_error, error); },
                 // Answered before it came here.
                 [](CallFault::Reply /*reply*/) {},
                 [&](const CallFault::Delay& delay) {
                   const std::shared_ptr<sd_bus_message> kept(sd_bus_message_ref(call.message), sd_bus_message_unref);
                   _timers.after(delay.time, [this, kept, call] { run(call); });
                 },
                 [](const CallFault::Never& /*never*/) {},
                 [&](CallFault::Death death) {
                   _death = death;
                   run(call);
                   // A call that was refused before anything was run.
                   _death.reset();
                 },
             },
             fault.effect);
}

void CallFaults::run(const Call& call) {
  BusError failure;
  const int result = call.run(call.message, failure.get());
  if (result < 0) {
    check_sent(sd_bus_reply_method_errno(call.message, result, failure.get()));
  }
  _answered(sd_bus_message_get_member(call.message));
}

void CallFaults::before_commit() noexcept {
  if (_death == CallFault::Death::BEFORE_COMMIT) {
    die();
  }
}

void CallFaults::before_reply(sd_bus_message* /*call*/) noexcept {
  // A command that had nothing to commit dies here either way.
  if (_death) {
    die();
  }
}

std::optional<CallFault> CallFaults::take(const std::string& method) {
  const auto armed = find(method);
  if (armed == _armed.end()) {
    return std::nullopt;
  }
  CallFault fault = armed->fault;
  if (use_up(armed->left)) {
    _armed.erase(armed);
  }
  return fault;
}

CallFaults::Faults::iterator CallFaults::find(const std::string& method) {
  return std::find_if(_armed.begin(), _armed.end(),
                      [&](const Armed& armed) { return armed.fault.method == "*" || armed.fault.method == method; });
}

Json CallFaults::armed() const { return with_remaining(_armed); }

}  // namespace msg_consumer::service::emulator
