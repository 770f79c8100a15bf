// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_TESTS_UNIT_STORE_NAMED_ROW_HPP
#define MSG_CONSUMER_TESTS_UNIT_STORE_NAMED_ROW_HPP

#include <string>

namespace msg_consumer::test {

/// Names the tests of a table after their rows' member `name`.
inline constexpr auto name_of_row = [](const auto& row) { return std::string(row.param.name); };

}  // namespace msg_consumer::test

#endif
