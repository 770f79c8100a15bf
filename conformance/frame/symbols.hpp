// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_CONFORMANCE_FRAME_SYMBOLS_HPP
#define MSG_CONSUMER_CONFORMANCE_FRAME_SYMBOLS_HPP

#include <span>
#include <string>

#include "frame/sentence.hpp"

namespace msg_consumer::conformance {

/// What the library exports that the kit was built with: what its headers declare. Listed when the kit is built.
extern const std::span<const char* const> LIBRARY_SYMBOLS;

/// Sentences about what the dynamic linker sees of the library that programs are linked with under this name.
Sentences symbol_sentences(const std::string& soname);

}  // namespace msg_consumer::conformance

#endif
