// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_ALLOCATION_FAULTS_HPP
#define MSG_CONSUMER_TESTS_ALLOCATION_FAULTS_HPP

// Allocation as this executable defines it for itself and every library that it loads: it fails where a test says.

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace msg_consumer::test {

/// Whose allocations are to fail.
enum class Allocator { NEW, SQLITE, GLIB };

/// How many fail: the chosen one, or that and all after it.
enum class Extent { ONE, ALL_FROM_THERE };

/// While it lives, the allocation with this number (from 0) fails that the thread makes from now on.
class Fault {
 public:
  Fault(Allocator allocator, int number, Extent extent = Extent::ONE);
  ~Fault();
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  /// Whether it came to that.
  [[nodiscard]] bool has_struck() const;

 private:
  Allocator _allocator;
};

/// How many blocks the thread has made with `operator new` and not given back.
std::int64_t live_blocks();

/// An allocator and an extent: what tests are repeated for.
struct FaultClass {
  Allocator allocator;
  Extent extent;
  const char* name;
};

inline std::ostream& operator<<(std::ostream& out, const FaultClass& fault) { return out << fault.name; }

inline constexpr FaultClass FAULT_CLASSES[] = {
    {Allocator::NEW, Extent::ONE, "OneOfOperatorNew"},
    {Allocator::NEW, Extent::ALL_FROM_THERE, "AllOfOperatorNewFromThere"},
    {Allocator::SQLITE, Extent::ONE, "OneOfSqlite"},
    {Allocator::SQLITE, Extent::ALL_FROM_THERE, "AllOfSqliteFromThere"},
};

}  // namespace msg_consumer::test

#endif
