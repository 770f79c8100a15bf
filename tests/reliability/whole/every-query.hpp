// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_WHOLE_EVERY_QUERY_HPP
#define MSG_CONSUMER_TESTS_WHOLE_EVERY_QUERY_HPP

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace msg_consumer::test {

/// What a query answered: its status, and every member of all that it wrote, as text. Empty when it wrote nothing.
struct Answer {
  int status = 0;
  std::string text;

  bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer);

/// A query of the store library with arguments that find something in what `ServiceOnDisk::fill` made.
struct Query {
  const char* name;
  std::function<Answer()> ask;
};

void PrintTo(const Query& query, std::ostream* out);

const std::vector<Query>& every_query();

}  // namespace msg_consumer::test

#endif
