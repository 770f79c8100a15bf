// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_REQUEST_TEST_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_REQUEST_TEST_HPP

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "client-test.hpp"

/// One operation of a request class, with arguments, and what must come of it.
struct RequestRow {
  const char* name;
  std::function<int()> run;
  const char* file;
  const char* function;
  const char* method;
  const char* params;               ///< the tuple as text
  std::vector<std::string> traces;  ///< in their order; all but the first follow the look-ups
  int* id_out = nullptr;            ///< where the operation puts the new id, if it has one
  const char* name_failed = "[ERROR] IPCProxy::getIpcCmdString() failed!";
  const char* format_failed = "[ERROR] IPCProxy::getIpcCmdStruct() failed!";
};

inline void PrintTo(const RequestRow& row, std::ostream* out) { *out << row.name; }

/// The pattern that every operation follows; instantiated once for each family.
class Request : public ClientTest, public testing::WithParamInterface<RequestRow> {
 protected:
  /// The trace that comes before anything else; one operation has none.
  void expect_entry_trace() const { expect_traces(std::min<std::size_t>(1, GetParam().traces.size())); }

  void expect_traces(std::size_t count) const {
    const auto& expected = GetParam().traces;
    EXPECT_EQ(traces(), std::vector<std::string>(expected.begin(), expected.begin() + static_cast<long>(count)));
    for (const auto& line : LogCapture::instance().lines()) {
      if (line.priority != 5) continue;
      EXPECT_EQ(line.file, GetParam().file);
      EXPECT_EQ(line.function, GetParam().function);
    }
  }
};

#endif
