// SPDX-License-Identifier: Apache-2.0
#include "bus-interface.hpp"

#include <cerrno>
#include <cstdint>
#include <new>
#include <system_error>
#include <tuple>
#include <type_traits>

#include <msg-consumer-platform/logging.hpp>

#include "bus-names.hpp"

namespace msg_consumer::service {
namespace {

// One reader for each type of argument; a negative errno when the call holds something else.

int read(sd_bus_message* call, int& value) { return sd_bus_message_read_basic(call, 'i', &value); }

int read(sd_bus_message* call, bool& value) {
  int boolean = 0;
  const int result = sd_bus_message_read_basic(call, 'b', &boolean);
  value = boolean != 0;
  return result;
}

// The text lives as long as the call.
int read(sd_bus_message* call, std::string_view& value) {
  const char* text = "";
  const int result = sd_bus_message_read_basic(call, 's', &text);
  value = text;
  return result;
}

int read(sd_bus_message* call, std::uint64_t& value) { return sd_bus_message_read_basic(call, 't', &value); }

int read(sd_bus_message* call, std::vector<int>& value) {
  int result = sd_bus_message_enter_container(call, 'v', "ai");
  if (result < 0) {
    return result;
  }
  const void* data = nullptr;
  std::size_t size = 0;
  result = sd_bus_message_read_array(call, 'i', &data, &size);
  if (result < 0) {
    return result;
  }
  const auto* first = static_cast<const int*>(data);
  value.assign(first, first + (size / sizeof(int)));
  return sd_bus_message_exit_container(call);
}

int read(sd_bus_message* call, Submission& value) {
  for (const int result : {read(call, value.type), read(call, value.thread_id), read(call, value.recipients),
                           read(call, value.text), read(call, value.file_paths), read(call, value.sim_index)}) {
    if (result < 0) {
      return result;
    }
  }
  return 0;
}

// The bytes live as long as the call.
int read(sd_bus_message* call, SerializedRecord& value) {
  const void* data = nullptr;
  std::size_t size = 0;
  for (const int result :
       {sd_bus_message_enter_container(call, 'v', "(ay)"), sd_bus_message_enter_container(call, 'r', "ay"),
        sd_bus_message_read_array(call, 'y', &data, &size), sd_bus_message_exit_container(call),
        sd_bus_message_exit_container(call), read(call, value.size)}) {
    if (result < 0) {
      return result;
    }
  }
  value.bytes = {static_cast<const char*>(data), size};
  return 0;
}

int reply(sd_bus_message* call, const Outcome& outcome) {
  return sd_bus_reply_method_return(call, "i", static_cast<int>(outcome.status));
}

int reply(sd_bus_message* call, const Creation& creation) {
  return sd_bus_reply_method_return(call, "ii", creation.message_id, static_cast<int>(creation.outcome.status));
}

const Outcome& outcome_of(const Outcome& outcome) { return outcome; }

const Outcome& outcome_of(const Creation& creation) { return creation.outcome; }

template <typename Result, typename... Arguments>
constexpr bool makes_message(Result (Commands::* /*command*/)(Arguments...)) {
  return std::is_same_v<Result, Creation>;
}

template <typename Command>
constexpr bool sets_active_thread(Command command) {
  if constexpr (std::is_same_v<Command, decltype(&Commands::set_active_thread_id)>) {
    return command == &Commands::set_active_thread_id;
  } else {
    return false;
  }
}

}  // namespace

template <typename Result, typename... Arguments>
int BusInterface::answer(sd_bus_message* call, sd_bus_error* error, Result (Commands::*command)(Arguments...)) {
  std::tuple<std::decay_t<Arguments>...> arguments;
  const bool complete = std::apply([&](auto&... argument) { return ((read(call, argument) >= 0) && ...); }, arguments);
  if (!complete) {
    return sd_bus_error_set_const(error, SD_BUS_ERROR_INVALID_ARGS, "An argument is of another type.");
  }
  const Result result =
      std::apply([&](const auto&... argument) { return (_commands.*command)(argument...); }, arguments);
  if (sets_active_thread(command) && outcome_of(result).status == STATUS_OK) {
    watch_viewer(call);
  }
  if (_gate != nullptr) {
    _gate->before_reply(call);
  }
  const int sent = reply(call, result);
  // Whether or not the caller can be told, the change stands.
  if (outcome_of(result).announcement) {
    _announcer.announce(*outcome_of(result).announcement);
  }
  return sent;
}

template <auto command>
int BusInterface::handle(sd_bus_message* call, void* self, sd_bus_error* error) noexcept {
  try {
    auto& interface = *static_cast<BusInterface*>(self);
    if (interface._gate == nullptr) {
      return interface.answer(call, error, command);
    }
    return interface._gate->pass(
        {.message = call,
         .makes_message = makes_message(command),
         .run = [&interface](sd_bus_message* kept,
                             sd_bus_error* failure) { return interface.answer(kept, failure, command); }},
        error);
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  } catch (...) {
    return -EIO;
  }
}

// The bus's policy decides who may call; sd-bus's own check would let only root in.
#define METHOD(name, arguments, results, command)                                                            \
  SD_BUS_METHOD_WITH_ARGS(#name, SD_BUS_ARGS arguments, SD_BUS_RESULT results, (handle<&Commands::command>), \
                          SD_BUS_VTABLE_UNPRIVILEGED)
#define COMMAND(name, arguments, results) METHOD(name, arguments, results, name)
#define SIGNAL(name) SD_BUS_SIGNAL_WITH_ARGS(name, SD_BUS_ARGS("s", data), 0)
#define STATUS ("i", status)
#define NEW_ID_AND_STATUS ("i", message_id, "i", status)

const sd_bus_vtable BusInterface::VTABLE[] = {
    SD_BUS_VTABLE_START(0),
    COMMAND(read_message, ("i", message_id, "i", is_nms), STATUS),
    COMMAND(read_thread, ("i", thread_id), STATUS),
    COMMAND(delete_message, ("i", message_id, "i", is_nms), STATUS),
    COMMAND(delete_thread, ("i", thread_id), STATUS),
    COMMAND(delete_threads, ("v", thread_ids), STATUS),
    COMMAND(set_active_thread_id, ("i", thread_id), STATUS),
    COMMAND(send_change_sms_application_request, ("b", status), STATUS),
    COMMAND(add_message, ("s", type, "i", thread_id, "s", recipients, "s", text, "s", file_paths, "i", sim_index),
            NEW_ID_AND_STATUS),
    COMMAND(send_message, ("s", type, "i", thread_id, "s", recipients, "s", text, "s", file_paths, "i", sim_index),
            NEW_ID_AND_STATUS),
    COMMAND(resend_message, ("i", message_id), STATUS),
    COMMAND(show_on_device, ("i", message_id), STATUS),
    COMMAND(get_content_file, ("i", message_id, "s", path), STATUS),
    COMMAND(send_content_file, ("i", message_id, "s", path), STATUS),
    COMMAND(restore_block_message, ("i", message_id), STATUS),
    COMMAND(update_group_chat_address, ("i", thread_id), STATUS),
    COMMAND(export_to_phone, ("i", message_id), STATUS),
    COMMAND(update_retrieve_mms_message, ("i", message_id), STATUS),
    COMMAND(nms_add_message, ("v", message, "i", size), STATUS),
    COMMAND(nms_delete_message_by_time, ("i", time), STATUS),
    COMMAND(nms_send_message, ("s", type, "i", thread_id, "s", recipients, "s", text, "s", file_paths),
            NEW_ID_AND_STATUS),
    METHOD(nms_resend_message, ("i", message_id), STATUS, resend_message),
    COMMAND(nms_add_msg_meta, ("v", meta, "i", size), STATUS),
    COMMAND(nms_update_msg_meta, ("i", message_id, "s", object_id, "v", meta, "i", size), STATUS),
    COMMAND(nms_delete_msg_meta, ("i", message_id, "s", object_id), STATUS),
    COMMAND(nms_delete_invalid_msg_meta, (nullptr), STATUS),
    COMMAND(nms_handle_resetbox, (nullptr), STATUS),
    METHOD(nms_download_mms, ("i", message_id), STATUS, update_retrieve_mms_message),
    COMMAND(nms_update_message_network_status, ("i", message_id, "i", network_status), STATUS),
    COMMAND(nms_update_subscription_info, ("t", notification_index, "s", restart_token), STATUS),
    SIGNAL(STORAGE_CHANGED),
    SIGNAL(CONTENT_CHANGED),
    SIGNAL(GROUPCHAT_STATE_CHANGED),
    SIGNAL(STORE_MESSAGE_RESULT),
    SD_BUS_VTABLE_END,
};

std::vector<std::string_view> BusInterface::methods() {
  std::vector<std::string_view> names;
  for (const sd_bus_vtable& entry : VTABLE) {
    if (entry.type == _SD_BUS_VTABLE_METHOD) {
      names.emplace_back(entry.x.method.member);
    }
  }
  return names;
}

int BusInterface::on_viewer_left(sd_bus_track* /*track*/, void* self) noexcept {
  static_cast<BusInterface*>(self)->_commands.set_active_thread_id(0);
  // With 0 the bus library would call again and again.
  return 1;
}

void BusInterface::watch_viewer(sd_bus_message* call) noexcept {
  sd_bus_track* handle = nullptr;
  int result = sd_bus_track_new(sd_bus_message_get_bus(call), &handle, on_viewer_left, this);
  _viewer.reset(handle);
  if (result >= 0) {
    result = sd_bus_track_add_sender(_viewer.get(), call);
  }
  if (result < 0) {
    LOG_ERROR(HERE, "[ERROR] cannot watch who looks at a thread: (%d)", result);
  }
}

BusInterface::BusInterface(sd_bus* bus, Commands& commands, Announcer& announcer, CallGate* gate)
    : _commands(commands), _announcer(announcer), _gate(gate) {
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_add_object_vtable(bus, &slot, OBJECT_PATH, INTERFACE_NAME, VTABLE, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot offer the object on the bus");
  }
  _slot.reset(slot);
}

}  // namespace msg_consumer::service
