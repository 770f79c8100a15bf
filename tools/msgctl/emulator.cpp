// SPDX-License-Identifier: Apache-2.0
#include "msgctl/emulator.hpp"

#include <string_view>

#include "msgctl/bus.hpp"
#include "msgctl/failure.hpp"

namespace msgctl {
namespace {

constexpr const char* interface = "com.velmora.message.consumer.emulator";
constexpr const char* invalid_step = "com.velmora.message.consumer.Error.InvalidStep";

bool is_unknown(std::string_view error) {
  return error == "org.freedesktop.DBus.Error.UnknownInterface" ||
         error == "org.freedesktop.DBus.Error.UnknownMethod" || error == "org.freedesktop.DBus.Error.UnknownObject";
}

std::string answer_of(const BusReply& reply) {
  if (reply.error_name.empty()) return reply.text;
  if (is_unknown(reply.error_name)) {
    throw Failure(ExitCode::Unsupported, "the service that runs is not the emulator",
                  "'msg-consumer-run -- COMMAND' runs a command with the emulator in the service's place.");
  }
  if (reply.error_name == invalid_step) throw Failure(ExitCode::Refused, "the emulator refused: " + reply.error);
  if (reply.error_name == "org.freedesktop.DBus.Error.AccessDenied") {
    throw Failure(ExitCode::Refused, "the message bus refused: " + reply.error);
  }
  throw Failure(ExitCode::Unreachable, "the emulator did not answer: " + reply.error,
                "'msgctl status' tells how the service is.");
}

}  // namespace

std::string perform_step(const std::string& step) { return answer_of(call_service(interface, "perform", &step)); }

std::string get_emulator_state() { return answer_of(call_service(interface, "get_state", nullptr)); }

void reset_emulator() { static_cast<void>(answer_of(call_service(interface, "reset", nullptr))); }

}  // namespace msgctl
