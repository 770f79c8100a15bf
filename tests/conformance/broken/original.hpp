// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_CONFORMANCE_BROKEN_ORIGINAL_HPP
#define MSG_CONSUMER_TESTS_CONFORMANCE_BROKEN_ORIGINAL_HPP

#include <dlfcn.h>

namespace msg_consumer::test {

/// The function that a broken library's `function` stands in front of.
template <typename Function>
Function* original(Function* function) {
  Dl_info place{};
  dladdr(reinterpret_cast<void*>(function), &place);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, place.dli_sname));
}

}  // namespace msg_consumer::test

#endif
