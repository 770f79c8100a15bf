// SPDX-License-Identifier: Apache-2.0
#include "emulator-interface.hpp"

#include <system_error>

#include "bus-names.hpp"
#include "step-parser.hpp"

namespace msg_consumer::service::emulator {
namespace {

constexpr const char* INVALID_STEP = "com.velmora.message.consumer.Error.InvalidStep";
constexpr const char* STEP_FAILED = "com.velmora.message.consumer.Error.StepFailed";

int reply(sd_bus_message* call, const Json& json) {
  // Texts that are not UTF-8 cannot be sent.
  const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  return sd_bus_reply_method_return(call, "s", text.c_str());
}

}  // namespace

template <auto method>
int EmulatorInterface::handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept try {
  return (static_cast<EmulatorInterface*>(self)->*method)(call);
} catch (const InvalidStep& invalid) {
  return sd_bus_error_set(error, INVALID_STEP, invalid.what());
} catch (const std::exception& failure) {
  return sd_bus_error_set(error, STEP_FAILED, failure.what());
}

int EmulatorInterface::perform(sd_bus_message* call) {
  const char* text = "";
  const int result = sd_bus_message_read_basic(call, 's', &text);
  return result < 0 ? result : reply(call, _performer.perform(parse_step(text)));
}

int EmulatorInterface::get_state(sd_bus_message* call) { return reply(call, _performer.state()); }

int EmulatorInterface::reset(sd_bus_message* call) {
  _performer.reset();
  return sd_bus_reply_method_return(call, nullptr);
}

// The bus's policy decides who may call; sd-bus's own check would let only root in.
const sd_bus_vtable EmulatorInterface::VTABLE[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("perform", SD_BUS_ARGS("s", step), SD_BUS_RESULT("s", result),
                            handle<&EmulatorInterface::perform>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("get_state", SD_BUS_NO_ARGS, SD_BUS_RESULT("s", state),
                            handle<&EmulatorInterface::get_state>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("reset", SD_BUS_NO_ARGS, SD_BUS_NO_RESULT, handle<&EmulatorInterface::reset>,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

EmulatorInterface::EmulatorInterface(sd_bus* bus, StepPerformer& performer) : _performer(performer) {
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_add_object_vtable(bus, &slot, OBJECT_PATH, EMULATOR_INTERFACE_NAME, VTABLE, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot offer the emulator on the bus");
  }
  _slot.reset(slot);
}

}  // namespace msg_consumer::service::emulator
