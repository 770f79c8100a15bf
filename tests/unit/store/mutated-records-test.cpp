// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>

#include "public-records.hpp"
#include "record-compare.hpp"
#include "sample-records.hpp"
#include "schema/serialized-record.hpp"

// Serialised records with a few bytes changed. Each either is refused, or is a record that keeps its values when it is
// serialised again. Sanitizers watch the rest.

namespace msg_consumer::schema {
namespace {

constexpr int MUTANTS = 20'000;

std::optional<std::string> encode(const Message& message) {
  return encode_message(test::PublicMessage(message).record);
}

std::optional<std::string> encode(const NmsMsgMeta& meta) { return encode_nms_meta(test::public_record(meta)); }

std::optional<Message> decode(std::string_view text, const Message&) { return decode_message(text); }

std::optional<NmsMsgMeta> decode(std::string_view text, const NmsMsgMeta&) { return decode_nms_meta(text); }

std::string replace_byte(std::string text, std::size_t at, std::mt19937& random) {
  text[at] = static_cast<char>(random());
  return text;
}

std::string remove_some(std::string text, std::size_t at, std::mt19937& random) {
  return text.erase(at, 1 + random() % 20);
}

std::string repeat_some(std::string text, std::size_t at, std::mt19937& random) {
  return text.insert(at, std::string(text, random() % text.size(), 1 + random() % 30));
}

/// What changes a value and leaves the structure alone, so that many mutants are decoded.
std::string change_letter_or_digit(std::string text, std::size_t at, std::mt19937& random) {
  at = text.find_first_of("0123456789abcdefghijklmnopqrstuvwxyz", at);
  if (at == std::string::npos) return text;
  text[at] = static_cast<char>(text[at] <= '9' ? '0' + random() % 10 : 'a' + random() % 26);
  return text;
}

std::string mutate(std::string text, std::mt19937& random) {
  constexpr std::string (*WAYS[])(std::string, std::size_t, std::mt19937&) = {replace_byte, remove_some, repeat_some,
                                                                              change_letter_or_digit};
  for (auto changes = 1 + random() % 3; changes > 0 && !text.empty(); --changes) {
    const std::size_t at = random() % text.size();
    text = WAYS[random() % std::size(WAYS)](std::move(text), at, random);
  }
  return text;
}

template <typename Record>
Record valid_sample() {
  return test::sample<Record>();
}

// An address that is of no kind is not decoded.
template <>
Message valid_sample<Message>() {
  Message message = test::sample<Message>();
  for (auto& address : message.addresses) address.num_b = 1;
  return message;
}

template <typename Record>
class MutatedRecord : public testing::Test {};

using Records = testing::Types<Message, NmsMsgMeta>;
TYPED_TEST_SUITE(MutatedRecord, Records);

TYPED_TEST(MutatedRecord, IsRefusedOrARecord) {
  const auto sample = valid_sample<TypeParam>();
  const std::string original = encode(sample).value();
  ASSERT_TRUE(decode(original, sample));

  std::mt19937 random(4);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  int refused = 0;
  for (int i = 0; i < MUTANTS; ++i) {
    const std::string mutant = mutate(original, random);
    const auto record = decode(mutant, sample);
    if (!record) {
      ++refused;
      continue;
    }
    const auto again = encode(*record);
    ASSERT_TRUE(again) << mutant;
    const auto same = decode(*again, sample);
    ASSERT_TRUE(same) << mutant;
    EXPECT_TRUE(*same == *record) << mutant;
  }
  EXPECT_GT(refused, MUTANTS / 3);
  EXPECT_LT(refused, MUTANTS - MUTANTS / 20) << "too few mutants were decoded to say anything";
}

}  // namespace
}  // namespace msg_consumer::schema
