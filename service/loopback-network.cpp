// SPDX-License-Identifier: Apache-2.0
#include "loopback-network.hpp"

#include <ctime>
#include <system_error>

#include <msg-consumer-platform/logging.hpp>

#include "record-values.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

// After a failure, a full disk for example, there is no hurry.
constexpr std::chrono::milliseconds RETRY_DELAY{1000};

std::uint64_t microseconds(std::chrono::milliseconds delay) {
  return static_cast<std::uint64_t>(std::chrono::microseconds(delay).count());
}

// A damaged message must not hold up the others.
std::optional<StoredMessage> find_readable(Messages& messages, int id) try {
  return messages.find(id);
} catch (const schema::SqliteError& error) {
  if (error.primary() != SQLITE_CORRUPT) {
    throw;
  }
  LOG_ERROR(HERE, "[ERROR] message (%d) is passed over: %s", id, error.what());
  return std::nullopt;
}

}  // namespace

LoopbackNetwork::LoopbackNetwork(sd_event* loop, StoreWriter& store, Announcer& announcer,
                                 std::chrono::milliseconds beat)
    : _store(store), _announcer(announcer), _beat(beat) {
  sd_event_source* timer = nullptr;
  const int result = sd_event_add_time_relative(loop, &timer, CLOCK_MONOTONIC, microseconds(_beat), 1, on_beat, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot make a timer");
  }
  // The first beat finds what an earlier instance left.
  _timer.reset(timer);
  _scheduled = true;
}

void LoopbackNetwork::send_queued() noexcept { schedule(_beat); }

void LoopbackNetwork::retrieve(int message_id) {
  _retrieving.insert(message_id);
  schedule(_beat);
}

bool LoopbackNetwork::is_retrieving(int message_id) const { return _retrieving.contains(message_id); }

int LoopbackNetwork::on_beat(sd_event_source* /*source*/, std::uint64_t /*time*/, void* network) {
  static_cast<LoopbackNetwork*>(network)->beat();
  return 0;
}

void LoopbackNetwork::beat() noexcept {
  _scheduled = false;
  try {
    Beat done;
    const std::optional<Announcement> announcement = _store.commit([&]() -> std::optional<Change> {
      done = move_all();
      if (done.message_ids.empty()) {
        return std::nullopt;
      }
      return Change{.message_ids = {done.message_ids.begin(), done.message_ids.end()},
                    .thread_ids = {done.thread_ids.begin(), done.thread_ids.end()}};
    });
    _sent = std::move(done.sent);
    _retrieving.clear();
    if (announcement) {
      _announcer.announce(*announcement);
    }
    if (done.more) {
      schedule(_beat);
    }
  } catch (...) {
    static_cast<void>(status_of_current_exception());
    schedule(RETRY_DELAY);
  }
}

LoopbackNetwork::Beat LoopbackNetwork::move_all() {
  Beat beat;
  // From the end to the beginning, so that nothing moves twice.
  move(beat, _sent, DELIVERY_SENT, DELIVERY_DELIVERED);
  beat.sent = _store.messages().in_flight(DELIVERY_SENDING);
  move(beat, beat.sent, DELIVERY_SENDING, DELIVERY_SENT);
  const std::vector<int> queued = _store.messages().in_flight(DELIVERY_QUEUED);
  move(beat, queued, DELIVERY_QUEUED, DELIVERY_SENDING);
  finish_retrievals(beat);
  beat.more = !beat.sent.empty() || !queued.empty();
  return beat;
}

// A message may have been deleted since it was sent: it is passed over.
void LoopbackNetwork::move(Beat& beat, const std::vector<int>& ids, int from, int to) {
  for (const int id : ids) {
    if (const std::optional<int> thread_id = _store.messages().advance_delivery(id, from, to)) {
      beat.message_ids.insert(id);
      beat.thread_ids.insert(*thread_id);
    }
  }
}

void LoopbackNetwork::finish_retrievals(Beat& beat) {
  for (const int id : _retrieving) {
    std::optional<StoredMessage> stored = find_readable(_store.messages(), id);
    if (!stored || stored->message.num_n != RETRIEVAL_RUNNING) {
      continue;
    }
    const Message before = stored->message;
    stored->message.num_n = RETRIEVAL_DONE;
    stored->message.subType = SUBTYPE_PLAIN;
    _store.messages().update(before, *stored);
    beat.message_ids.insert(id);
    beat.thread_ids.insert(before.num_b);
  }
}

void LoopbackNetwork::schedule(std::chrono::milliseconds delay) noexcept {
  if (_scheduled) {
    return;
  }
  const int timed = sd_event_source_set_time_relative(_timer.get(), microseconds(delay));
  const int enabled = sd_event_source_set_enabled(_timer.get(), SD_EVENT_ONESHOT);
  _scheduled = timed >= 0 && enabled >= 0;
  if (!_scheduled) {
    LOG_ERROR(HERE, "[ERROR] cannot set the timer: (%d) (%d)", timed, enabled);
  }
}

}  // namespace msg_consumer::service
