// SPDX-License-Identifier: Apache-2.0
#include "faults.hpp"

#include <glib.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace msg_consumer::test {
namespace {

/// What is to become of one allocator's next allocations on this thread.
struct Plan {
  int left = -1;  ///< to the one that fails; negative when none is to fail any more
  Extent extent = Extent::ONE;
  bool struck = false;

  bool fails() {
    if (struck && extent == Extent::ALL_FROM_THERE) return true;
    if (left < 0 || left-- > 0) return false;
    struck = true;
    return true;
  }
};

// Constant-initialised: the first allocations are made before this file's own objects are there.
constinit thread_local Plan plans[3];
constinit thread_local std::int64_t live = 0;

Plan& plan_of(Allocator allocator) { return plans[static_cast<int>(allocator)]; }

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory): this is the allocator
void* make(std::size_t size, std::size_t alignment = 0) noexcept {
  if (plan_of(Allocator::NEW).fails()) return nullptr;
  if (size == 0) size = 1;
  const std::size_t rounded = alignment == 0 ? size : (size + alignment - 1) / alignment * alignment;
  void* const block = alignment == 0 ? std::malloc(size) : std::aligned_alloc(alignment, rounded);
  if (block != nullptr) ++live;
  return block;
}

void* make_or_throw(std::size_t size, std::size_t alignment = 0) {
  void* const block = make(size, alignment);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void give_back(void* block) noexcept {
  if (block != nullptr) --live;
  std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)

sqlite3_mem_methods sqlite_memory;

void* sqlite_make(int size) { return plan_of(Allocator::SQLITE).fails() ? nullptr : sqlite_memory.xMalloc(size); }

void* sqlite_resize(void* block, int size) {
  return plan_of(Allocator::SQLITE).fails() ? nullptr : sqlite_memory.xRealloc(block, size);
}

// Without the small blocks that connections keep in reserve, and with every block asked for one by one.
bool replace_sqlite_memory() {
  bool replaced = sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqlite_memory) == SQLITE_OK;
  sqlite3_mem_methods faulty = sqlite_memory;
  faulty.xMalloc = sqlite_make;
  faulty.xRealloc = sqlite_resize;
  replaced = replaced && sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty) == SQLITE_OK;
  replaced = replaced && sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK;
  if (!replaced) std::abort();
  return replaced;
}

[[maybe_unused]] const bool sqlite_memory_is_replaced = replace_sqlite_memory();

}  // namespace

Fault::Fault(Allocator allocator, int number, Extent extent) : _allocator(allocator) {
  plan_of(allocator) = {.left = number, .extent = extent, .struck = false};
}

Fault::~Fault() { plan_of(_allocator) = {}; }

bool Fault::has_struck() const { return plan_of(_allocator).struck; }

std::int64_t live_blocks() { return live; }

}  // namespace msg_consumer::test

using msg_consumer::test::Allocator;
using msg_consumer::test::give_back;
using msg_consumer::test::make;
using msg_consumer::test::make_or_throw;
using msg_consumer::test::plan_of;

void* operator new(std::size_t size) { return make_or_throw(size); }
void* operator new[](std::size_t size) { return make_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return make(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return make(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return make_or_throw(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return make_or_throw(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return make(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return make(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept { give_back(block); }
void operator delete[](void* block) noexcept { give_back(block); }
void operator delete(void* block, std::size_t) noexcept { give_back(block); }
void operator delete[](void* block, std::size_t) noexcept { give_back(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { give_back(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { give_back(block); }
void operator delete(void* block, std::align_val_t) noexcept { give_back(block); }
void operator delete[](void* block, std::align_val_t) noexcept { give_back(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { give_back(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { give_back(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept { give_back(block); }
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept { give_back(block); }

// NOLINTBEGIN(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
extern "C" {

gpointer g_malloc0(gsize size) { return plan_of(Allocator::GLIB).fails() ? nullptr : std::calloc(1, size); }

// In brackets: GLib's headers may make a macro of it.
gchar*(g_strdup)(const gchar* text) {
  return text == nullptr || plan_of(Allocator::GLIB).fails() ? nullptr : strdup(text);
}

}  // extern "C"
// NOLINTEND(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
