// SPDX-License-Identifier: Apache-2.0
#include "msgctl/change.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace msgctl {
namespace {

using testing::ElementsAre;
using testing::Optional;

TEST(Change, IsReadFromAnEvent) {
  const auto change = parse_change(R"({"event":"added","revision":7,"message_ids":[12,13],"thread_ids":[3]})");
  ASSERT_TRUE(change);
  EXPECT_EQ(change->event, "added");
  EXPECT_EQ(change->revision, 7);
  EXPECT_THAT(change->message_ids, Optional(ElementsAre(12, 13)));
  EXPECT_THAT(change->thread_ids, Optional(ElementsAre(3)));
}

TEST(Change, HasNoIdsWhereThereAreTooManyToName) {
  const auto change = parse_change(R"({"event":"deleted","revision":8,"message_ids":null,"thread_ids":[]})");
  ASSERT_TRUE(change);
  EXPECT_EQ(change->message_ids, std::nullopt);
  EXPECT_EQ(words_of(change->message_ids), "many");
  EXPECT_EQ(words_of(change->thread_ids), "");
}

class StrangeEvent : public testing::TestWithParam<const char*> {};

TEST_P(StrangeEvent, IsNoChange) { EXPECT_EQ(parse_change(GetParam()), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(Texts, StrangeEvent,
                         testing::Values("", "nonsense", "[]", "{}", "{\"event\":\"added\"}",
                                         R"({"event":1,"revision":7,"message_ids":[],"thread_ids":[]})",
                                         R"({"event":"added","revision":"7","message_ids":[],"thread_ids":[]})",
                                         R"({"event":"added","revision":7,"message_ids":["x"],"thread_ids":[]})",
                                         R"({"event":"added","revision":7,"message_ids":[],"thread_ids":[]} x)"));

}  // namespace
}  // namespace msgctl
