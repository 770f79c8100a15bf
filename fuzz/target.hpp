// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_FUZZ_TARGET_HPP
#define MSG_CONSUMER_FUZZ_TARGET_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What each target defines; called with one input after the other.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace msg_consumer::fuzz {

inline std::string_view view(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process when a promise is broken: the input is then reported.
inline void require(bool promise) {
  if (!promise) std::abort();
}

}  // namespace msg_consumer::fuzz

#endif
