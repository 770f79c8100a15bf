// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_ALLOCATION_ROWS_HPP
#define MSG_CONSUMER_TESTS_ALLOCATION_ROWS_HPP

#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "device.hpp"
#include "faults.hpp"

namespace msg_consumer::test {

/// One function under failing allocation.
struct FaultRow {
  std::string name;
  std::function<int(Device&)> call;
  int clean = 0;                                   ///< what it answers without a fault
  std::set<int> refusals = {-2};                   ///< what it may answer when memory runs out
  std::function<void(Device&)> prepare = nullptr;  ///< before each call
  /// After each call: what the outputs must be like; and releases them.
  std::function<void(Device&, int status)> finish = nullptr;
  bool reaches_service = false;
  bool opens_store = false;  ///< the store is closed before the call; opening takes many more allocations than reading
};

inline void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }

/// The row with the opening of the store.
inline FaultRow opening(FaultRow row) {
  row.opens_store = true;
  return row;
}

/// How many allocations were made to fail.
struct Tally {
  int tried = 0;
  int answered_in_spite = 0;  ///< calls that did without the memory and gave the whole answer
};

/// Fails the first allocation of the row's call, in another run the second, until a run needs no more; then once more
/// without a fault. Expects of each what the row says, and that the store, the service and the heap are as before.
Tally fail_each_allocation(Device& device, const FaultRow& row, const FaultClass& fault);

/// Does so with all rows, and reports the figures as those of `what`.
void fail_each_row(Device& device, const std::vector<FaultRow>& rows, const std::string& what, const FaultClass& fault);

/// The functions that a header declares: the first group of each match.
std::set<std::string> declared(const std::string& header, const std::string& pattern);

std::vector<FaultRow> c_rows();
std::vector<FaultRow> manager_rows();

}  // namespace msg_consumer::test

#endif
