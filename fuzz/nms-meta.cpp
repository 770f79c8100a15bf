// SPDX-License-Identifier: Apache-2.0
// Serialised metadata is refused, or is a record that keeps its values when it is serialised again.
#include "public-records.hpp"
#include "record-compare.hpp"
#include "schema/serialized-record.hpp"
#include "target.hpp"

using namespace msg_consumer;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto meta = schema::decode_nms_meta(fuzz::view(data, size));
  if (!meta) return 0;
  const auto text = schema::encode_nms_meta(test::public_record(*meta));
  fuzz::require(text.has_value());
  const auto again = schema::decode_nms_meta(*text);
  fuzz::require(again && *again == *meta);
  return 0;
}
