// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_ALLOCATOR_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_FAKE_ALLOCATOR_HPP

// The allocators of objects and records as this executable defines them, failing where a test says.

#include <cstddef>

namespace fake {

struct Allocator {
  bool nothrow_new_fails = false;    ///< operator new(size, nothrow) returns null
  int failing_malloc0 = -1;          ///< the how-manieth g_malloc0() from now on returns null
  std::size_t failing_size = 0;      ///< every g_malloc0() of this size returns null
  bool g_variant_new_fails = false;  ///< g_variant_new() returns null
  int nothrow_news = 0;              ///< calls of operator new(size, nothrow)
  int malloc0s = 0;                  ///< calls of g_malloc0()

  void reset() { *this = Allocator(); }
};

Allocator& allocator();

}  // namespace fake

#endif
