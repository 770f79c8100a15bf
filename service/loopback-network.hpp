// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_LOOPBACK_NETWORK_HPP
#define MSG_CONSUMER_SERVICE_LOOPBACK_NETWORK_HPP

#include <systemd/sd-event.h>

#include <chrono>
#include <optional>
#include <set>
#include <vector>

#include <msg-consumer-platform/releaser.hpp>

#include "announcer.hpp"
#include "far-side.hpp"
#include "network.hpp"
#include "store-writer.hpp"

namespace msg_consumer::service {

/// Stands in for the modem: at each beat every message on its way moves one step, from queued to sending, sent and
/// delivered, unless the far side says otherwise. What an earlier instance left on its way goes on.
class LoopbackNetwork final : public Network {
 public:
  static constexpr std::chrono::milliseconds DEFAULT_BEAT{100};

  LoopbackNetwork(sd_event* loop, StoreWriter& store, Announcer& announcer, FarSide& far_side,
                  std::chrono::milliseconds beat = DEFAULT_BEAT);

  void send_queued() noexcept override;
  void retrieve(int message_id) override;
  void give_up(int message_id) noexcept override;
  bool is_retrieving(int message_id) const override;

 private:
  /// What one beat did, and what it leaves for the next.
  struct Beat {
    std::set<int> message_ids;
    std::set<int> thread_ids;
    std::vector<int> sent;
    bool more = false;
  };

  static int on_beat(sd_event_source* source, std::uint64_t time, void* network);
  void beat() noexcept;
  Beat move_all();
  bool move(Beat& beat, int id, int from, int to);
  void report(Beat& beat);
  void finish_sending(Beat& beat);
  void start_sending(Beat& beat);
  void finish_retrievals(Beat& beat);
  void schedule(std::chrono::milliseconds delay) noexcept;

  StoreWriter& _store;
  Announcer& _announcer;
  FarSide& _far_side;
  std::chrono::milliseconds _beat;
  bool _scheduled = false;
  std::vector<int> _sent;
  std::set<int> _retrieving;
  Owned<sd_event_source, sd_event_source_disable_unref> _timer;
};

}  // namespace msg_consumer::service

#endif
