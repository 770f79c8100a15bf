// SPDX-License-Identifier: Apache-2.0
#include "rows.hpp"

#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <optional>
#include <regex>

#include "support/figures.hpp"

namespace msg_consumer::test {
namespace {

/// One call of a row, with a fault or without.
struct Run {
  int status = 0;
  bool struck = false;
};

Run run(Device& device, const FaultRow& row, const std::optional<Fault>& fault) {
  Run result;
  result.status = row.call(device);
  result.struck = fault && fault->has_struck();
  return result;
}

/// Calls with the allocation `number` failing, or with none when it is negative, and looks at what that has left.
Run run_and_look(Device& device, const FaultRow& row, const FaultClass& fault_class, int number) {
  if (row.prepare) row.prepare(device);
  if (!row.opens_store) db::init_db();
  const std::size_t commands = device.commands();
  Run result;
  {
    std::optional<Fault> fault;
    if (number >= 0) fault.emplace(fault_class.allocator, number, fault_class.extent);
    result = run(device, row, fault);
  }
  if (row.finish) row.finish(device, result.status);
  const bool succeeded = result.status == row.clean;
  EXPECT_EQ(device.commands() - commands, row.reaches_service && succeeded ? 1U : 0U) << number;
  if (!result.struck) {
    EXPECT_EQ(result.status, row.clean) << number;
  } else {
    EXPECT_TRUE(succeeded || row.refusals.contains(result.status)) << number << ": " << result.status;
  }
  return result;
}

}  // namespace

Tally fail_each_allocation(Device& device, const FaultRow& row, const FaultClass& fault) {
  run_and_look(device, row, fault, -1);  // what is made once per process is there from now on
  db::deinit_db();
  const std::size_t store = device.checksum();
  Tally tally;
  for (bool struck = true; struck && !testing::Test::HasFailure();) {
    const std::int64_t blocks = live_blocks();
    const Run result = run_and_look(device, row, fault, tally.tried);
    struck = result.struck;
    db::deinit_db();
    EXPECT_EQ(live_blocks(), blocks) << tally.tried;
    EXPECT_EQ(device.checksum(), store) << tally.tried;
    if (struck) {
      ++tally.tried;
      tally.answered_in_spite += result.status == row.clean ? 1 : 0;
    }
  }
  run_and_look(device, row, fault, -1);
  return tally;
}

void fail_each_row(Device& device, const std::vector<FaultRow>& rows, const std::string& what,
                   const FaultClass& fault) {
  Tally total;
  for (const FaultRow& row : rows) {
    SCOPED_TRACE(row.name);
    const Tally tally = fail_each_allocation(device, row, fault);
    total.tried += tally.tried;
    total.answered_in_spite += tally.answered_in_spite;
    if (testing::Test::HasFailure()) return;
  }
  EXPECT_GT(total.tried, 0);
  report_figure(
      "allocation: " + what + ", " + fault.name, total.tried, total.tried,
      {{"functions", static_cast<std::int64_t>(rows.size())}, {"answered_in_spite", total.answered_in_spite}});
}

std::set<std::string> declared(const std::string& header, const std::string& pattern) {
  const std::string text = read_file(std::string(SOURCE_DIR "/include/msg-consumer/") + header);
  const std::regex expression(pattern);
  std::set<std::string> names;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

}  // namespace msg_consumer::test
