// SPDX-License-Identifier: Apache-2.0
#include "loopback-network.hpp"

#include <ctime>
#include <nlohmann/json.hpp>
#include <system_error>

#include <msg-consumer-platform/logging.hpp>

#include "record-values.hpp"
#include "status.hpp"

namespace msg_consumer::service {
namespace {

// After a failure, a full disk for example, there is no hurry.
constexpr std::chrono::milliseconds RETRY_DELAY{1000};

constexpr std::int64_t RECENT_CHANGES = 1000;

std::uint64_t microseconds(std::chrono::milliseconds delay) {
  return static_cast<std::uint64_t>(std::chrono::microseconds(delay).count());
}

// As far as they are named: neither those that came nor those that went.
std::vector<int> recently_changed(sqlite3* database) {
  schema::Statement newest(database, "SELECT body FROM change_log WHERE signal = ?1 ORDER BY revision DESC LIMIT ?2");
  newest.bind(1, STORAGE_CHANGED).bind(2, RECENT_CHANGES);
  std::set<int> ids;
  while (newest.step()) {
    const auto change = nlohmann::json::parse(newest.text(0), nullptr, false);
    if (change.is_object() && change.value("event", "") == "changed" && change["message_ids"].is_array()) {
      const auto named = change["message_ids"].get<std::vector<int>>();
      ids.insert(named.begin(), named.end());
    }
  }
  return {ids.begin(), ids.end()};
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

LoopbackNetwork::LoopbackNetwork(sd_event* loop, StoreWriter& store, Announcer& announcer, FarSide& far_side,
                                 std::chrono::milliseconds beat)
    : _store(store),
      _announcer(announcer),
      _far_side(far_side),
      _beat(beat),
      _sent(recently_changed(store.database())) {
  sd_event_source* timer = nullptr;
  const int result = sd_event_add_time_relative(loop, &timer, CLOCK_MONOTONIC, microseconds(_beat), 1, on_beat, this);
  if (result < 0) {
    throw std::system_error(-result, std::generic_category(), "cannot make a timer");
  }
  // The first beat finds what an earlier instance left. It awaited reports of what it had sent a moment before, and
  // whatever else has changed then is in another state.
  _timer.reset(timer);
  _scheduled = true;
}

void LoopbackNetwork::send_queued() noexcept { schedule(_beat); }

void LoopbackNetwork::retrieve(int message_id) {
  _retrieving.insert(message_id);
  schedule(_beat);
}

void LoopbackNetwork::give_up(int message_id) noexcept { _retrieving.erase(message_id); }

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
    _far_side.beat_is_committed();
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
  _far_side.beat_begins();
  Beat beat;
  // From the end to the beginning, so that nothing moves twice.
  report(beat);
  finish_sending(beat);
  start_sending(beat);
  finish_retrievals(beat);
  return beat;
}

// A message may have been deleted since it was sent: it is passed over.
bool LoopbackNetwork::move(Beat& beat, int id, int from, int to) {
  const std::optional<int> thread_id = _store.messages().advance_delivery(id, from, to);
  if (thread_id) {
    beat.message_ids.insert(id);
    beat.thread_ids.insert(*thread_id);
  }
  return thread_id.has_value();
}

void LoopbackNetwork::report(Beat& beat) {
  if (_far_side.reports()) {
    for (const int id : _sent) {
      move(beat, id, DELIVERY_SENT, DELIVERY_DELIVERED);
    }
  }
}

void LoopbackNetwork::finish_sending(Beat& beat) {
  for (const int id : _store.messages().in_flight(DELIVERY_SENDING)) {
    if (_far_side.fails(id)) {
      move(beat, id, DELIVERY_SENDING, DELIVERY_FAILED);
    } else if (move(beat, id, DELIVERY_SENDING, DELIVERY_SENT)) {
      beat.sent.push_back(id);
      beat.more = true;
    }
  }
}

void LoopbackNetwork::start_sending(Beat& beat) {
  for (const int id : _store.messages().in_flight(DELIVERY_QUEUED)) {
    if (!_far_side.holds(id) && move(beat, id, DELIVERY_QUEUED, DELIVERY_SENDING)) {
      beat.more = true;
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
    if (_far_side.complete(stored->message)) {
      stored->message.num_n = RETRIEVAL_DONE;
      stored->message.subType = SUBTYPE_PLAIN;
      _store.messages().number_contents(stored->message);
      _store.messages().update_with_text(before, *stored);
    } else {
      stored->message.num_n = RETRIEVAL_FAILED;
      _store.messages().update(before, *stored);
    }
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
