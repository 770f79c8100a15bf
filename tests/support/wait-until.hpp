// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_SUPPORT_WAIT_UNTIL_HPP
#define MSG_CONSUMER_TESTS_SUPPORT_WAIT_UNTIL_HPP

#include <chrono>
#include <functional>

namespace msg_consumer::test {

/// Long enough for the slowest machine under a sanitizer: only a test that is about to fail waits for so long.
constexpr std::chrono::milliseconds patience = std::chrono::seconds(10);

/// Whether `predicate` comes to hold within `timeout`.
bool wait_until(const std::function<bool()>& predicate, std::chrono::milliseconds timeout = patience);

/// The same, while the thread-default main context is iterated.
bool iterate_until(const std::function<bool()>& predicate, std::chrono::milliseconds timeout = patience);

}  // namespace msg_consumer::test

#endif
