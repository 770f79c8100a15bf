// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

namespace msg_consumer::service {

// Nothing that is stored changes by these, so they are recorded and not announced.

Outcome Commands::show_on_device(int message_id) {
  return guarded([&]() -> std::optional<Announcement> {
    _store.transact([&] {
      static_cast<void>(_store.messages().get(message_id));
      _store.device_requests().add("show_on_device", message_id, _clock.now_ms());
    });
    return std::nullopt;
  });
}

Outcome Commands::send_change_sms_application_request(bool status) {
  return guarded([&]() -> std::optional<Announcement> {
    _store.transact(
        [&] { _store.device_requests().add("send_change_sms_application_request", status ? 1 : 0, _clock.now_ms()); });
    return std::nullopt;
  });
}

}  // namespace msg_consumer::service
