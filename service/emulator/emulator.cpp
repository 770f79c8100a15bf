// SPDX-License-Identifier: Apache-2.0
#include "emulator.hpp"

#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <msg-consumer-platform/logging.hpp>

#include "full-disk.hpp"
#include "record-values.hpp"
#include "status.hpp"

namespace msg_consumer::service::emulator {
namespace {

constexpr std::int64_t SHOWN_REQUESTS = 1000;

int on_turn(sd_event_source* /*source*/, void* /*data*/) {
  FullDisk::instance().turn_ends();
  return 0;
}

int before_commit(void* calls) {
  static_cast<CallFaults*>(calls)->before_commit();
  return 0;
}

}  // namespace

Emulator::Emulator(std::string name, std::vector<Step> scenario)
    : _name(std::move(name)),
      _scenario(std::move(scenario)),
      _announcer(_timers),
      _calls(_timers, [this](const std::string& method) { on_answered(method); }) {
  FullDisk::instance().install();
}

Announcer& Emulator::announcer(Announcer& announcer, sd_event* loop, sd_bus* bus) {
  _timers.use(loop);
  _announcer.use(announcer, bus);
  return _announcer;
}

void Emulator::before_start(const Parts& parts) {
  _parts.emplace(parts);
  _network.use(parts.files);
  _arrivals.emplace(parts, _network);
  sqlite3_commit_hook(parts.store.database(), before_commit, &_calls);
  watch_turns(parts.loop);
  _calls.watch(parts.bus);
  _interface.emplace(parts.bus, static_cast<StepPerformer&>(*this));
  int number = 0;
  for (const Step& step : _scenario) {
    ++number;
    try {
      static_cast<void>(perform(step));
    } catch (const std::exception& error) {
      throw std::runtime_error(_name + ": step " + std::to_string(number) + ": " + error.what());
    }
  }
}

void Emulator::watch_turns(sd_event* loop) {
  sd_event_source* source = nullptr;
  const int result = sd_event_add_post(loop, &source, on_turn, nullptr);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot watch the loop");
  }
  _turns.reset(source);
  // Before whatever comes next.
  sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT);
}

void Emulator::after_end() noexcept {
  _turns.reset();
  _interface.reset();
  _calls.watch(nullptr);
  _timers.forget();
  _lock.release();
}

Json Emulator::perform(const Step& step) {
  if (std::holds_alternative<std::monostate>(step.when)) {
    return perform_now(step);
  }
  hold(step);
  return {{"held", true}};
}

Json Emulator::perform_now(const Step& step) try {
  return std::visit([&](const auto& action) { return run(action, step.source); }, step.action);
} catch (const InvalidStep&) {
  throw;
} catch (...) {
  const int status = status_of_current_exception();
  throw std::runtime_error("the service cannot do that now: its status is " + std::to_string(status));
}

void Emulator::hold(const Step& step) {
  const auto held = _held.insert(_held.end(), {.step = step});
  if (const auto* const delay = std::get_if<std::chrono::milliseconds>(&step.when)) {
    _timers.after(*delay, [this, held] {
      const Step due = std::move(held->step);
      _held.erase(held);
      perform_held(due);
    });
  }
}

// Nobody waits for what it returns.
void Emulator::perform_held(const Step& step) noexcept {
  try {
    static_cast<void>(perform_now(step));
  } catch (const std::exception& error) {
    LOG_ERROR(HERE, "[ERROR] a step of the scenario cannot be performed: %s", error.what());
  }
}

void Emulator::on_answered(const std::string& method) noexcept {
  // What is due may hold, and forget, other steps.
  std::list<Step> due;
  for (auto held = _held.begin(); held != _held.end();) {
    const auto here = held++;
    const auto* const call = std::get_if<AfterCall>(&here->step.when);
    if (call == nullptr || call->method != method) {
      continue;
    }
    ++here->answered;
    if (call->nth == 0) {
      due.push_back(here->step);
    } else if (call->nth == here->answered) {
      due.push_back(std::move(here->step));
      _held.erase(here);
    }
  }
  for (const Step& step : due) {
    perform_held(step);
  }
}

Json Emulator::run(const Receive& receive, const Json& /*source*/) { return _arrivals->receive(receive); }

int Emulator::existing_message(int id) {
  schema::Statement latest(_parts->store.database(), "SELECT MAX(id) FROM message");
  if (id == LATEST_MESSAGE) {
    latest.step();
    id = static_cast<int>(latest.integer(0));
  }
  if (id == 0 || !_parts->store.messages().find(id)) {
    throw InvalidStep("message: there is no such message");
  }
  return id;
}

Json Emulator::run(const Report& report, const Json& /*source*/) {
  const int id = existing_message(report.message_id);
  const int to = report.is_delivered ? DELIVERY_DELIVERED : DELIVERY_FAILED;
  const auto announcement = _parts->store.commit([&]() -> std::optional<Change> {
    const std::optional<int> thread_id = _parts->store.messages().advance_delivery(id, DELIVERY_SENT, to);
    if (!thread_id) {
      return std::nullopt;
    }
    return Change{.message_ids = {id}, .thread_ids = {*thread_id}};
  });
  if (!announcement) {
    throw InvalidStep("message: it does not await a report of its delivery");
  }
  _announcer.announce(*announcement);
  return {{"message_id", id}};
}

Json Emulator::run(const NetworkMode& mode, const Json& /*source*/) {
  _network.set(mode, _parts->store.messages().in_flight(DELIVERY_QUEUED));
  // Some may be free to go now.
  _parts->network.send_queued();
  return Json::object();
}

Json Emulator::run(const PhoneMode& mode, const Json& /*source*/) {
  _phone.set(mode);
  return Json::object();
}

Json Emulator::run(const NetworkStore& notification, const Json& /*source*/) {
  std::optional<NmsMsgMeta> meta = notification.meta;
  if (meta) {
    meta->msgId = meta->msgId >= 0 ? existing_message(meta->msgId) : 0;
  }
  const auto announcement = _parts->store.commit([&]() -> std::optional<Change> {
    NmsBox& box = _parts->store.nms_box();
    if (!meta) {
      const auto& [index, token] = *notification.subscription;
      return box.subscribe(index, token) ? std::optional(Change{.event = "subscription_changed"}) : std::nullopt;
    }
    if (!box.put(*meta)) {
      return std::nullopt;
    }
    Change change{.event = "meta_changed"};
    if (meta->msgId > 0) {
      change.message_ids = {meta->msgId};
    }
    return change;
  });
  if (announcement) {
    _announcer.announce(*announcement);
  }
  return {{"changed", announcement.has_value()}};
}

Json Emulator::run(const CallFault& fault, const Json& source) {
  _calls.arm(fault, source);
  return Json::object();
}

Json Emulator::run(const SignalFault& fault, const Json& source) {
  _announcer.arm(fault, source);
  return Json::object();
}

Json Emulator::run(const Lock& lock, const Json& /*source*/) {
  _lock.hold(_parts->places.database, lock.time);
  return Json::object();
}

Json Emulator::run(const DiskFull& disk, const Json& /*source*/) {
  FullDisk::instance().set(disk);
  return Json::object();
}

Json Emulator::run(const Clear& /*clear*/, const Json& /*source*/) {
  _calls.clear();
  _announcer.clear();
  _lock.release();
  FullDisk::instance().set({.is_full = false, .times = 0});
  return Json::object();
}

void Emulator::reset() {
  static_cast<void>(run(Clear{}, {}));
  _held.clear();
  // The calls and signals that were put off are among these: they are dropped.
  _timers.forget();
  _calls.forget_calls();
  _network.reset();
  _phone.reset();
  _arrivals->forget_segments();
  _parts->network.send_queued();
}

Json Emulator::device_requests() {
  schema::Statement newest(_parts->store.database(),
                           "SELECT request, argument, time_ms FROM device_request WHERE id > (SELECT COALESCE(MAX(id), "
                           "0) FROM device_request) - ?1 ORDER BY id");
  newest.bind(1, SHOWN_REQUESTS);
  Json list = Json::array();
  while (newest.step()) {
    list.push_back({{"request", newest.text(0)}, {"argument", newest.integer(1)}, {"time_ms", newest.integer(2)}});
  }
  return list;
}

Json Emulator::state() {
  Json held = Json::array();
  for (const Held& waiting : _held) {
    held.push_back(waiting.step.source);
  }
  return {{"calls", _calls.seen()},        {"faults", _calls.armed()},
          {"signals", _announcer.armed()}, {"disk_full", FullDisk::instance().state()},
          {"locked", _lock.is_held()},     {"network", _network.state()},
          {"phone", _phone.state()},       {"segments", _arrivals->waiting_segments()},
          {"held_steps", std::move(held)}, {"device_requests", device_requests()}};
}

}  // namespace msg_consumer::service::emulator
