// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <type_traits>

#include "record-compare.hpp"
#include "sample-records.hpp"

namespace msg_consumer {
namespace {

template <typename Record>
class Records : public testing::Test {};

using AllRecords = testing::Types<Address, Content, Conversation, ListCondition, Message, NmsMsgMeta, Thread>;
TYPED_TEST_SUITE(Records, AllRecords);

// A vector that grows copies its elements unless they are moved without exceptions.
TYPED_TEST(Records, AreMovedWithoutExceptions) {
  static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
  static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
}

TYPED_TEST(Records, AreCopiedMemberByMember) {
  const auto sample = test::sample<TypeParam>();
  const TypeParam copy(sample);
  EXPECT_TRUE(copy == sample);
  TypeParam assigned;
  EXPECT_FALSE(assigned == sample);
  assigned = sample;
  EXPECT_TRUE(assigned == sample);
}

TYPED_TEST(Records, AreMovedMemberByMember) {
  const auto sample = test::sample<TypeParam>();
  TypeParam source = sample;
  TypeParam moved(std::move(source));
  EXPECT_TRUE(moved == sample);
  TypeParam assigned;
  assigned = std::move(moved);
  EXPECT_TRUE(assigned == sample);
}

// Constructed over memory full of ones, so that a member without a default shows.
TYPED_TEST(Records, AreConstructedOverDirtyMemoryAsOverCleanMemory) {
  const auto construct_over = [](int byte) {
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(byte));
    std::unique_ptr<TypeParam, void (*)(TypeParam*)> record(new (memory) TypeParam, std::destroy_at<TypeParam>);
    return *record;
  };
  EXPECT_TRUE(construct_over(0xFF) == construct_over(0));
}

TEST(RecordDefaults, AnAddressIsEmpty) {
  const Address address;
  EXPECT_EQ(address.num_a, 0);
  EXPECT_EQ(address.num_b, 0);
  EXPECT_EQ(address.num_c, 0);
  EXPECT_EQ(address.address, "");
  EXPECT_EQ(address.flag_e, 0);
}

TEST(RecordDefaults, AMessageIsEmpty) {
  const Message message;
  EXPECT_EQ(message.id, 0);
  EXPECT_EQ(message.time_ms, 0);
  EXPECT_EQ(message.str_s, "");
  EXPECT_TRUE(message.addresses.empty());
  EXPECT_TRUE(message.contents.empty());
  EXPECT_EQ(message.nms_meta.msgId, 0);
}

TEST(RecordDefaults, AContentIsNotTransferred) { EXPECT_EQ(Content().status, Content::STATUS_NONE); }

TEST(RecordDefaults, AListConditionMeansEveryMessageNewestFirst) {
  const ListCondition condition;
  EXPECT_EQ(condition.flag_x, 1);
  EXPECT_EQ(condition.flag_y, 0);
  EXPECT_EQ(condition.num_type, 0);
  EXPECT_EQ(condition.num_a, 0);
  EXPECT_EQ(condition.num_b, 0);
  EXPECT_EQ(condition.keyword, "");
  EXPECT_TRUE(condition.thread_ids.empty());
}

}  // namespace
}  // namespace msg_consumer
