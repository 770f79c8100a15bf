// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_RECORD_COMPARE_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_RECORD_COMPARE_HPP

// Records compared member by member. The number of members is the compiler's business: a structured binding names
// them all.

#include <msg-consumer-common/Address.h>
#include <msg-consumer-common/Content.h>
#include <msg-consumer-common/Conversation.h>
#include <msg-consumer-common/ListCondition.h>
#include <msg-consumer-common/Message.h>
#include <msg-consumer-common/NmsMsgMeta.h>
#include <msg-consumer-common/Thread.h>

#include <algorithm>
#include <tuple>
#include <vector>

namespace msg_consumer {

inline auto members(const Address& record) {
  const auto& [a, b, c, d, e] = record;
  return std::tie(a, b, c, d, e);
}

inline auto members(const Content& record) {
  const auto& [a, b, c, d, e, f, g, h, i, j, k, l] = record;
  return std::tie(a, b, c, d, e, f, g, h, i, j, k, l);
}

inline auto members(const NmsMsgMeta& record) {
  const auto& [a, b, c, d, e, f, g, h, i, j, k, l] = record;
  return std::tie(a, b, c, d, e, f, g, h, i, j, k, l);
}

inline auto members(const Message& record) {
  const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w] = record;
  return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w);
}

inline auto members(const Conversation& record) {
  const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u] = record;
  return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u);
}

inline auto members(const Thread& record) {
  const auto& [a, b, c, d, e, f, g, h, i, j, k, l, m, n, o] = record;
  return std::tie(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o);
}

inline auto members(const ListCondition& record) {
  const auto& [a, b, c, d, e, f, g] = record;
  return std::tie(a, b, c, d, e, f, g);
}

template <typename Record>
auto operator==(const Record& left, const Record& right) -> decltype(members(left), bool()) {
  return members(left) == members(right);
}

}  // namespace msg_consumer

#endif
