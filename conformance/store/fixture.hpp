// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_STORE_FIXTURE_HPP
#define MSG_CONSUMER_CONFORMANCE_STORE_FIXTURE_HPP

#include <string>
#include <vector>

#include "frame/sentence.hpp"

namespace msg_consumer::conformance {

// The states that a store is put into.
inline constexpr const char* FILLED = "filled";
inline constexpr const char* EMPTY = "empty";

/// A state's data as a filler gets it, every member written out. Throws for an unknown name.
Json store_fixture(const std::string& state);

// Records as queries must return them from the filled store. Row ids of addresses and parts, which a store gives as it
// likes, are left out.

Json expected_thread(int id);
Json expected_message(int id);
Json expected_conversation(int id);
Json expected_addresses(int thread_id);
/// The metadata with this object id.
Json expected_meta(const std::string& object_id);

/// A record's JSON as the above: without the row ids of what it holds.
Json without_row_ids(Json record);

}  // namespace msg_consumer::conformance

#endif
