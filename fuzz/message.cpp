// SPDX-License-Identifier: Apache-2.0
// A serialised message is refused, or is a record that keeps its values when it is serialised again.
#include "public-records.hpp"
#include "record-compare.hpp"
#include "schema/serialized-record.hpp"
#include "target.hpp"

using namespace msg_consumer;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = schema::decode_message(fuzz::view(data, size));
  if (!message) return 0;
  const auto text = schema::encode_message(test::PublicMessage(*message).record);
  fuzz::require(text.has_value());
  const auto again = schema::decode_message(*text);
  fuzz::require(again && *again == *message);
  return 0;
}
