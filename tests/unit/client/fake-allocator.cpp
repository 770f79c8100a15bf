// SPDX-License-Identifier: Apache-2.0
#include "fake-allocator.hpp"

#include <glib.h>

#include <cstdarg>
#include <cstdlib>
#include <new>

namespace fake {

Allocator& allocator() {
  static Allocator instance;
  return instance;
}

}  // namespace fake

using fake::allocator;

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++allocator().nothrow_news;
  if (allocator().nothrow_new_fails) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

extern "C" {

gpointer g_malloc0(gsize size) {
  ++allocator().malloc0s;
  if (allocator().failing_malloc0 == 0) {
    --allocator().failing_malloc0;
    return nullptr;
  }
  if (allocator().failing_malloc0 > 0) --allocator().failing_malloc0;
  if (size == allocator().failing_size) return nullptr;
  return std::calloc(1, size);
}

GVariant* g_variant_new(const gchar* format, ...) {
  if (allocator().g_variant_new_fails) return nullptr;
  va_list arguments;
  va_start(arguments, format);
  GVariant* const value = g_variant_new_va(format, nullptr, &arguments);
  va_end(arguments);
  return value;
}

}  // extern "C"
