// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_ARRIVALS_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_ARRIVALS_HPP

#include "emulated-network.hpp"
#include "segments.hpp"
#include "server.hpp"
#include "step.hpp"

namespace msg_consumer::service::emulator {

/// Lets messages arrive.
class Arrivals {
 public:
  Arrivals(const Parts& parts, EmulatedNetwork& network) : _parts(parts), _network(network) {}

  /// Stores and announces the message; one that comes in segments once it is whole. Returns its id and its thread's.
  Json receive(const Receive& receive);

  void forget_segments() { _segments.clear(); }
  Json waiting_segments() const { return _segments.state(); }

 private:
  Json receive_all(const Receive& receive);
  StoredMessage store(const Receive& receive);
  void update_chat(const Receive& receive);
  int thread_of_chat(const Receive& receive);

  Parts _parts;
  EmulatedNetwork& _network;
  Segments _segments;
};

}  // namespace msg_consumer::service::emulator

#endif
