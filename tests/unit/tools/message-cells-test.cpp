// SPDX-License-Identifier: Apache-2.0
#include "msgctl/message-cells.hpp"

#include <gtest/gtest.h>

namespace msgctl {
namespace {

struct StateCase {
  const char* name;
  MessageState state;
  const char* expected;
};

class StateCell : public testing::TestWithParam<StateCase> {};

TEST_P(StateCell, IsOneWord) { EXPECT_EQ(state_cell(GetParam().state).text, GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    States, StateCell,
    testing::Values(StateCase{"UnreadIncoming", {.direction = 1}, "unread"},
                    StateCase{"ReadIncoming", {.direction = 1, .read = true}, "read"},
                    StateCase{"BlockedIncoming", {.direction = 1, .retrieval = 1, .blocked = true}, "blocked"},
                    StateCase{"NotifiedMms", {.direction = 1, .retrieval = 1}, "to fetch"},
                    StateCase{"MmsBeingRetrieved", {.direction = 1, .retrieval = 2}, "fetching"},
                    StateCase{"MmsNotRetrieved", {.direction = 1, .retrieval = 4}, "failed"},
                    StateCase{"RetrievedMms", {.direction = 1, .retrieval = 3, .read = true}, "read"},
                    StateCase{"Queued", {.direction = 2, .delivery = 1, .read = true}, "queued"},
                    StateCase{"Delivered", {.direction = 2, .delivery = 4, .read = true}, "delivered"},
                    StateCase{"Failed", {.direction = 2, .delivery = 5, .read = true}, "failed"},
                    StateCase{"ValueOfANewerStore", {.direction = 2, .delivery = 99}, "unknown-99"},
                    StateCase{"Draft", {.direction = 3, .read = true}, "draft"}),
    [](const auto& row) { return row.param.name; });

TEST(Summary, PutsTheSubjectBeforeTheText) {
  EXPECT_EQ(summary("", "text", 0), "text");
  EXPECT_EQ(summary("subject", "", 0), "subject");
  EXPECT_EQ(summary("subject", "text", 0), "subject: text");
}

TEST(Summary, CountsTheParts) {
  EXPECT_EQ(summary("", "", 1), "[1 part]");
  EXPECT_EQ(summary("", "text", 3), "text [3 parts]");
}

}  // namespace
}  // namespace msgctl
