// SPDX-License-Identifier: Apache-2.0
#include "emulated-network.hpp"

#include <algorithm>

#include "message-content.hpp"
#include "status.hpp"

namespace msg_consumer::service::emulator {

void EmulatedNetwork::set(const NetworkMode& mode, const std::vector<int>& queued) {
  if (mode.sends == Sends::RELEASE) {
    _released.insert(queued.begin(), queued.end());
  } else if (mode.sends) {
    _sends = *mode.sends;
    _failures_left = mode.times;
    _released.clear();
  }
  _reports = mode.reports.value_or(_reports);
  _retrievals_succeed = mode.retrievals_succeed.value_or(_retrievals_succeed);
}

void EmulatedNetwork::reset() {
  _sends = Sends::DELIVER;
  _failures_left = 0;
  _released.clear();
  _reports = true;
  _retrievals_succeed = true;
}

Json EmulatedNetwork::state() const {
  Json state;
  state["sends"] = _sends == Sends::HOLD ? "hold" : _sends == Sends::FAIL ? "fail" : "deliver";
  if (_failures_left > 0) {
    state["remaining"] = _failures_left;
  }
  state["reports"] = _reports;
  state["retrievals"] = _retrievals_succeed ? "succeed" : "fail";
  return state;
}

void EmulatedNetwork::beat_begins() { _pending = {}; }

void EmulatedNetwork::beat_is_committed() noexcept {
  if (_failures_left > 0) {
    _failures_left = std::max(_failures_left - _pending.failed, 0);
    if (_failures_left == 0) {
      _sends = Sends::DELIVER;
    }
  }
  for (IncomingFiles& files : _pending.placed) {
    files.keep();
  }
  for (const int id : _pending.completed) {
    _contents.erase(id);
  }
  _pending = {};
}

bool EmulatedNetwork::holds(int message_id) { return _sends == Sends::HOLD && !_released.contains(message_id); }

bool EmulatedNetwork::fails(int /*message_id*/) {
  if (_sends != Sends::FAIL || (_failures_left > 0 && _pending.failed >= _failures_left)) {
    return false;
  }
  ++_pending.failed;
  return true;
}

bool EmulatedNetwork::complete(Message& message) try {
  if (!_retrievals_succeed) {
    return false;
  }
  const auto content = _contents.find(message.id);
  if (content != _contents.end()) {
    IncomingFiles& files = _pending.placed.emplace_back(stage_files(*_files, content->second.parts));
    add_content(message, content->second, *_files, files, message.id);
    _pending.completed.push_back(message.id);
  }
  return true;
} catch (const Refusal&) {
  // The device has no room for it.
  return false;
}

}  // namespace msg_consumer::service::emulator
