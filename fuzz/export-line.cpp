// SPDX-License-Identifier: Apache-2.0
// A line of an exported store is refused, or is a record that keeps its values when it is written again.
#include "service/transfer/record-reader.hpp"
#include "service/transfer/record-writer.hpp"
#include "target.hpp"

using namespace msg_consumer;
using namespace msg_consumer::service;

namespace {

std::string written(const transfer::Record& record) {
  transfer::Line line = std::visit([](const auto& value) { return transfer::line_of(value); }, record);
  fuzz::require(!line.was_mended);
  line.text.pop_back();
  return line.text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const std::string line = written(transfer::read_record(fuzz::view(data, size)));
    fuzz::require(written(transfer::read_record(line)) == line);
  } catch (const transfer::BrokenRecord&) {
  }
  return 0;
}
