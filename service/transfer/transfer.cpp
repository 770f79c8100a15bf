// SPDX-License-Identifier: Apache-2.0
#include "transfer.hpp"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "../status.hpp"
#include "bus-errors.hpp"

namespace msg_consumer::service::transfer {
namespace {

constexpr std::size_t BUFFER_SIZE = std::size_t{64} * 1024;

// How long a slice of small steps may last: others wait meanwhile.
constexpr std::chrono::milliseconds SLICE{10};

using SliceClock = std::chrono::steady_clock;

void check(int result, const char* what) {
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), what);
  }
}

std::uint64_t microseconds(std::chrono::milliseconds delay) {
  return static_cast<std::uint64_t>(std::chrono::microseconds(delay).count());
}

}  // namespace

Transfer::Transfer(sd_bus_message* call, int descriptor, Stream::Direction direction,
                   std::chrono::milliseconds patience)
    : _stream(descriptor, direction), _patience(patience), _call(sd_bus_message_ref(call)) {
  sd_bus* bus = sd_bus_message_get_bus(call);
  sd_event* loop = sd_bus_get_event(bus);
  sd_event_source* source = nullptr;
  check(sd_event_add_io(loop, &source, _stream.descriptor(), direction == Stream::Direction::READ ? EPOLLIN : EPOLLOUT,
                        on_ready, this),
        "cannot watch a stream");
  _ready.reset(source);
  check(sd_event_add_defer(loop, &source, on_work, this), "cannot schedule work");
  _work.reset(source);
  check(sd_event_add_time_relative(loop, &source, CLOCK_MONOTONIC, microseconds(_patience), 0, on_time, this),
        "cannot make a timer");
  _timer.reset(source);
  for (sd_event_source* lazy : {_ready.get(), _work.get()}) {
    check(sd_event_source_set_priority(lazy, SD_EVENT_PRIORITY_IDLE), "cannot schedule work");
  }
  // A match of its own: a track whose caller leaves at the wrong moment keeps the bus's loop spinning.
  const std::string match =
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
      std::string(sd_bus_message_get_sender(call)) + "'";
  sd_bus_slot* slot = nullptr;
  check(sd_bus_add_match_async(bus, &slot, match.c_str(), on_caller_gone, nullptr, this), "cannot watch a caller");
  _departure.reset(slot);
  wait_for(Need::STREAM);
}

int Transfer::on_ready(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t /*events*/, void* self) noexcept {
  static_cast<Transfer*>(self)->slice();
  return 0;
}

int Transfer::on_work(sd_event_source* /*source*/, void* self) noexcept {
  auto* transfer = static_cast<Transfer*>(self);
  if (transfer->_is_over) {
    // Copied: it goes with the object that it destroys.
    const std::function<void()> on_end = transfer->_on_end;
    on_end();
  } else {
    transfer->slice();
  }
  return 0;
}

int Transfer::on_time(sd_event_source* /*source*/, std::uint64_t /*time*/, void* self) noexcept {
  try {
    static_cast<Transfer*>(self)->time_out();
  } catch (...) {
    static_cast<void>(status_of_current_exception());
    static_cast<Transfer*>(self)->end();
  }
  return 0;
}

// Nobody is left to be answered.
int Transfer::on_caller_gone(sd_bus_message* /*signal*/, void* self, sd_bus_error* /*error*/) noexcept {
  static_cast<Transfer*>(self)->end();
  return 0;
}

void Transfer::slice() noexcept {
  try {
    const Need need = proceed();
    if (!_is_over) {
      wait_for(need);
    }
  } catch (const std::system_error& error) {
    fail(ERROR_STREAM, error.what());
  } catch (...) {
    static_cast<void>(status_of_current_exception());
    fail(ERROR_FAILED, "The store cannot be read or written; the service's log says more.");
  }
}

void Transfer::wait_for(Need need) {
  const bool works = need == Need::WORK;
  check(sd_event_source_set_enabled(_ready.get(), works ? SD_EVENT_OFF : SD_EVENT_ON), "cannot watch a stream");
  check(sd_event_source_set_enabled(_work.get(), works ? SD_EVENT_ON : SD_EVENT_OFF), "cannot schedule work");
}

void Transfer::note_progress() {
  check(sd_event_source_set_time_relative(_timer.get(), microseconds(_patience)), "cannot set the timer");
}

void Transfer::answer(const std::string& summary) {
  static_cast<void>(sd_bus_reply_method_return(_call.get(), "s", summary.c_str()));
  end();
}

void Transfer::fail(const char* name, const char* message) {
  static_cast<void>(sd_bus_reply_method_errorf(_call.get(), name, "%s", message));
  end();
}

// The object is in use here, so it goes with the next piece of work.
void Transfer::end() noexcept {
  _is_over = true;
  for (sd_event_source* source : {_ready.get(), _timer.get()}) {
    static_cast<void>(sd_event_source_set_enabled(source, SD_EVENT_OFF));
  }
  static_cast<void>(sd_event_source_set_enabled(_work.get(), SD_EVENT_ON));
}

ExportTransfer::ExportTransfer(sd_bus_message* call, int descriptor, const std::string& database_path,
                               const ContentFiles& files, std::chrono::milliseconds patience)
    : Transfer(call, descriptor, Stream::Direction::WRITE, patience), _exporter(database_path, files) {}

Transfer::Need ExportTransfer::proceed() {
  const auto end = SliceClock::now() + SLICE;
  do {
    if (_written == _out.size()) {
      _out.clear();
      _written = 0;
      if (_exporter.finished()) {
        answer(_exporter.summary());
        return Need::WORK;
      }
      _exporter.produce(_out, BUFFER_SIZE);
    }
    const std::size_t count = stream().write(std::string_view(_out).substr(_written));
    if (count == 0) {
      return Need::STREAM;
    }
    _written += count;
    note_progress();
  } while (SliceClock::now() < end);
  return Need::WORK;
}

void ExportTransfer::time_out() { fail(ERROR_TIMED_OUT, "Nobody reads the export: it was given up."); }

ImportTransfer::ImportTransfer(sd_bus_message* call, int descriptor, StoreWriter& store, const ContentFiles& files,
                               Announcer& announcer, std::chrono::milliseconds patience)
    : Transfer(call, descriptor, Stream::Direction::READ, patience), _importer(store, files, announcer) {}

Transfer::Need ImportTransfer::proceed() {
  const auto end = SliceClock::now() + SLICE;
  do {
    if (_importer.hungry()) {
      std::array<char, BUFFER_SIZE> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): read() fills it
      const std::optional<std::size_t> count = stream().read(buffer.data(), buffer.size());
      if (!count) {
        return Need::STREAM;
      }
      *count == 0 ? _importer.end_input() : _importer.feed({buffer.data(), *count});
      note_progress();
    }
    _importer.work();
    if (_importer.finished()) {
      answer(_importer.summary());
      return Need::WORK;
    }
  } while (SliceClock::now() < end);
  return Need::WORK;
}

void ImportTransfer::time_out() {
  _importer.give_up({.reason = "timed-out", .what = "nothing came any more"});
  answer(_importer.summary());
}

}  // namespace msg_consumer::service::transfer
