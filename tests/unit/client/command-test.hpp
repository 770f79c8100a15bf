// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_CLIENT_COMMAND_TEST_HPP
#define MSG_CONSUMER_TESTS_UNIT_CLIENT_COMMAND_TEST_HPP

#include <functional>
#include <string>

#include "client-test.hpp"

/// Where the sending functions of the tables put the new id.
inline int id_out = 0;

/// One function of the C API with good arguments, the request it makes, and the words in which it fails.
struct CommandRow {
  const char* name;
  std::function<int()> run;
  const char* function;
  const char* method;
  const char* params;
  const char* operation;  ///< as the failure line names it
  bool has_id = false;
};

inline void PrintTo(const CommandRow& row, std::ostream* out) { *out << row.name; }

class Command : public ClientTest, public testing::WithParamInterface<CommandRow> {};

/// A call with a bad argument and the line that refuses it.
struct RefusalRow {
  const char* name;
  std::function<int()> run;
  const char* function;
  const char* error;
};

inline void PrintTo(const RefusalRow& row, std::ostream* out) { *out << row.name; }

class Refusal : public ClientTest, public testing::WithParamInterface<RefusalRow> {};

#endif
