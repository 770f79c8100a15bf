// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "named-row.hpp"
#include "random-text.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "schema/row-codec.hpp"

namespace msg_consumer::schema {
namespace {

/// What is not packed: columns, and the network store's metadata.
Message columns_of(const Message& message) {
  Message result;
  result.id = message.id;
  result.num_b = message.num_b;
  result.num_c = message.num_c;
  result.num_f = message.num_f;
  result.time_ms = message.time_ms;
  result.flag_j = message.flag_j;
  result.flag_k = message.flag_k;
  result.nms_meta = message.nms_meta;
  return result;
}

int random_integer(std::mt19937& random) {
  constexpr int EDGES[] = {0, 1, -1, 63, 64, -64, -65, 127, 128, INT32_MAX, INT32_MIN};
  if (random() % 2 == 0) return EDGES[random() % std::size(EDGES)];
  return static_cast<int>(random()) >> (random() % 32);
}

std::uint8_t random_byte(std::mt19937& random) { return static_cast<std::uint8_t>(random()); }

std::string random_string(std::mt19937& random) {
  if (random() % 4 == 0) return {};
  return random() % 50 == 0 ? std::string(random() % 40'000, 'x') : test::random_text(random, 40);
}

Message random_message(std::mt19937& random) {
  Message message = test::sample<Message>();
  for (int* number : {&message.id, &message.subType, &message.num_e, &message.networkStatus, &message.num_h,
                      &message.num_m, &message.num_n, &message.num_q}) {
    *number = random_integer(random);
  }
  message.flag_l = random_byte(random);
  message.flag_r = random_byte(random);
  for (auto* text : {&message.str_d, &message.str_o, &message.str_p, &message.str_s}) *text = random_string(random);
  message.addresses.resize(random() % 4);
  for (auto& address : message.addresses) {
    address.num_a = random_integer(random);
    address.num_c = random_integer(random);
    address.address = random_string(random);
    address.flag_e = random_byte(random);
  }
  message.contents.resize(random() % 4);
  for (auto& content : message.contents) {
    content = test::sample<Content>();
    content.id = random_integer(random);
    content.num_b = message.id;
    content.kind = random_integer(random);
    content.str_l = random_string(random);
  }
  return message;
}

TEST(RowCodec, AMessageComesBackAsItWas) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  for (int i = 0; i < 2000; ++i) {
    const Message message = random_message(random);
    const std::string name = random_string(random);
    const std::string packed = pack_message(message, name);

    Message unpacked = columns_of(message);
    std::string unpacked_name;
    ASSERT_TRUE(unpack_message(packed, unpacked, &unpacked_name)) << i;
    EXPECT_TRUE(unpacked == message) << i;
    EXPECT_EQ(unpacked_name, name);

    Message without_name = columns_of(message);
    ASSERT_TRUE(unpack_message(packed, without_name, nullptr));
    EXPECT_TRUE(without_name == message);
  }
}

TEST(RowCodec, AConversationHoldsWhatItsMessageHolds) {
  Message message = test::sample<Message>();
  for (auto& content : message.contents) content.num_b = message.id;
  Conversation conversation;
  conversation.id = message.id;
  ASSERT_TRUE(unpack_conversation(pack_message(message, "A Name"), conversation));
  EXPECT_EQ(conversation.str_d, message.str_d);
  EXPECT_EQ(conversation.num_e, message.num_e);
  EXPECT_EQ(conversation.num_g, message.num_h);
  EXPECT_EQ(conversation.num_h, 2);
  EXPECT_EQ(conversation.flag_l, message.flag_l);
  EXPECT_EQ(conversation.num_m, message.num_m);
  EXPECT_EQ(conversation.num_n, message.num_n);
  EXPECT_EQ(conversation.flag_o, message.flag_r);
  EXPECT_EQ(conversation.num_p, message.num_q);
  EXPECT_EQ(conversation.str_q, message.str_s);
  EXPECT_EQ(conversation.str_r, message.str_p);
  EXPECT_EQ(conversation.str_s, message.str_o);
  EXPECT_EQ(conversation.str_t, "A Name");
  EXPECT_TRUE(conversation.contents == message.contents);
}

TEST(RowCodec, ASenderWithoutANameIsShownByTheAddress) {
  Conversation conversation;
  ASSERT_TRUE(unpack_conversation(pack_message(test::sample<Message>(), ""), conversation));
  EXPECT_EQ(conversation.str_t, "+491701234567");
}

TEST(RowCodec, EveryTruncationIsRefused) {
  const std::string packed = pack_message(test::sample<Message>(), "A Name");
  for (std::size_t length = 0; length < packed.size(); ++length) {
    Message message;
    EXPECT_FALSE(unpack_message(std::string_view(packed).substr(0, length), message, nullptr)) << length;
    Conversation conversation;
    EXPECT_FALSE(unpack_conversation(std::string_view(packed).substr(0, length), conversation)) << length;
  }
}

TEST(RowCodec, BytesBehindTheEndAreRefused) {
  const std::string packed = pack_message(test::sample<Message>(), "") + '\0';
  Message message;
  EXPECT_FALSE(unpack_message(packed, message, nullptr));
  Conversation conversation;
  EXPECT_FALSE(unpack_conversation(packed, conversation));
}

TEST(RowCodec, AnotherFormatIsRefused) {
  std::string packed = pack_message(test::sample<Message>(), "");
  ++packed.front();
  Message message;
  EXPECT_FALSE(unpack_message(packed, message, nullptr));
}

struct Hostile {
  const char* name;
  std::string bytes;
};

void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }

class HostileRow : public testing::TestWithParam<Hostile> {};

TEST_P(HostileRow, IsRefused) {
  Message message;
  EXPECT_FALSE(unpack_message(GetParam().bytes, message, nullptr));
  Conversation conversation;
  EXPECT_FALSE(unpack_conversation(GetParam().bytes, conversation));
}

// Version, two flags; then seven numbers, five texts and two counts follow.
const std::string START("\x01\x00\x00", 3);
const std::string NUMBERS(7, '\0');
const std::string TEXTS(5, '\0');
const std::string HUGE_NUMBER = "\xFF\xFF\xFF\xFF\x0F";

INSTANTIATE_TEST_SUITE_P(
    Rows, HostileRow,
    testing::Values(Hostile{"Empty", ""}, Hostile{"OnlyTheVersion", "\x01"},
                    Hostile{"NumberOfSixBytes", START + "\x80\x80\x80\x80\x80\x01"},
                    Hostile{"NumberAbove32Bits", START + "\xFF\xFF\xFF\xFF\x1F" + std::string(13, '\0')},
                    Hostile{"NumberLongerThanNeeded", START + std::string("\x80\x00", 2) + std::string(13, '\0')},
                    Hostile{"TextLongerThanTheRow", START + NUMBERS + HUGE_NUMBER + "x"},
                    Hostile{"PartsMoreThanBytes", START + NUMBERS + TEXTS + HUGE_NUMBER},
                    Hostile{"AddressesMoreThanBytes", START + NUMBERS + TEXTS + std::string(1, '\0') + HUGE_NUMBER}),
    test::name_of_row);

TEST(RowCodec, TheHostileRowsAreWrongInWhatTheySay) {
  Message message;
  EXPECT_TRUE(unpack_message(START + NUMBERS + TEXTS + std::string(2, '\0'), message, nullptr));
}

// No claim on the result: a changed letter of a text is not noticed. Sanitizers watch the rest.
TEST(RowCodec, MutatedRowsDoNoHarm) {
  std::mt19937 random(2);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  int refused = 0;
  for (int i = 0; i < 100'000; ++i) {
    static const std::string original = pack_message(test::sample<Message>(), "A Name");
    std::string bytes = original;
    for (auto changes = 1 + random() % 4; changes > 0; --changes) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
      if (random() % 8 == 0) bytes.resize(1 + random() % bytes.size());
    }
    Message message;
    refused += unpack_message(bytes, message, nullptr) ? 0 : 1;
    Conversation conversation;
    unpack_conversation(bytes, conversation);
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace msg_consumer::schema
