// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_SERVICE_EMULATOR_REMAINING_HPP
#define MSG_CONSUMER_SERVICE_EMULATOR_REMAINING_HPP

#include "step.hpp"

namespace msg_consumer::service::emulator {

// Faults that happen a number of times, 0 standing for without end.

/// Counts one time; returns whether it was the last.
inline bool use_up(int& left) { return left > 0 && --left == 0; }

inline Json remaining(int left) { return left > 0 ? Json(left) : Json("until cleared"); }

/// The armed faults as they were written, with how often they are still to happen.
template <typename Faults>
Json with_remaining(const Faults& faults) {
  Json list = Json::array();
  for (const auto& armed : faults) {
    Json fault = armed.source;
    fault["remaining"] = remaining(armed.left);
    list.push_back(std::move(fault));
  }
  return list;
}

}  // namespace msg_consumer::service::emulator

#endif
