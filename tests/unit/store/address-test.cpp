// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "named-row.hpp"
#include "schema/address.hpp"

namespace msg_consumer::schema {
namespace {

using Texts = std::vector<std::string>;

struct Row {
  const char* name;
  const char* address;
  const char* normalised;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class Normalising : public testing::TestWithParam<Row> {};

TEST_P(Normalising, LeavesWhatCounts) { EXPECT_EQ(normalise_address(GetParam().address), GetParam().normalised); }

constexpr Row ROWS[] = {
    {"Plain", "+491701234567", "+491701234567"},
    {"Blanks", " +49 170\t123\n45 67 ", "+491701234567"},
    {"UnicodeBlanks", "+49\u00A0170\u2009123\u202F45\u300067\u0085", "+491701234567"},
    {"Dashes", "0170-123\u201045\u201167\u201289\u2013\u2014\u2015\u2212", "0170123456789"},
    {"Dots", "0170.123.45", "017012345"},
    {"Brackets", "+49(0)[17]{0}1", "+4901701"},
    {"Letters", "Bob", "Bob"},
    {"EmailCase", "Bob.Smith@Example.ORG", "bob.smith@example.org"},
    {"EmailKeepsDotsAndDashes", "a.b-c@x-y.org", "a.b-c@x-y.org"},
    {"EmailIsStripped", " \u00A0bob@x.org\t", "bob@x.org"},
    {"EmailOfAnotherScript", "\u0411\u041E\u0411@x.org", "\u0431\u043E\u0431@x.org"},
    {"Empty", "", ""},
    {"OnlyDecoration", " -.()[]{} ", ""},
    {"NotUtf8",
     "12\xFF"
     "34",
     ""},
    {"EmailNotUtf8", "\xFF@x.org", ""},
};

INSTANTIATE_TEST_SUITE_P(Addresses, Normalising, testing::ValuesIn(ROWS), test::name_of_row);

TEST(AddressKind, IsToldFromTheText) {
  EXPECT_EQ(address_kind("a@b"), ADDRESS_EMAIL);
  EXPECT_EQ(address_kind("+49170"), ADDRESS_PHONE);
  EXPECT_EQ(address_kind(""), ADDRESS_PHONE);
}

TEST(AddressKey, DoesNotDependOnOrderRepetitionOrDecoration) {
  const auto key = address_key({"+49 170 1", "bob@x.org"});
  ASSERT_TRUE(key);
  EXPECT_EQ(address_key({"BOB@x.org", "+491701"}), key);
  EXPECT_EQ(address_key({"+491701", "bob@x.org", "+49-170-1", "Bob@X.org"}), key);
}

TEST(AddressKey, DiffersBetweenSets) {
  const std::vector<Texts> sets = {{"1"},           {"2"},        {"12"},      {"1", "2"}, {"1", "12"},
                                   {"1", "2", "3"}, {"1:1", "1"}, {"11", "1"}, {"1:11:1"}, {"1,2"},
                                   {"1;2"},         {"a@b"},      {"A"},       {"a"}};
  for (std::size_t i = 0; i < sets.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(address_key(sets[i]), address_key(sets[j])) << i << " " << j;
  }
}

TEST(AddressKey, IsRefusedForNoAddressAndForAnEmptyOne) {
  EXPECT_EQ(address_key({}), std::nullopt);
  EXPECT_EQ(address_key({""}), std::nullopt);
  EXPECT_EQ(address_key({"1", "-"}), std::nullopt);
  EXPECT_EQ(address_key({"1", "\xFF"}), std::nullopt);
}

TEST(Recipients, AreSplitAndStripped) {
  EXPECT_EQ(split_recipients("1"), Texts{"1"});
  EXPECT_EQ(split_recipients(" +49 170 ;\u00A0bob@x.org\t"), (Texts{"+49 170", "bob@x.org"}));
  EXPECT_EQ(split_recipients("1;1"), (Texts{"1", "1"}));
}

TEST(Recipients, AreRefusedWhenOneIsEmpty) {
  for (const auto* text : {"", ";", "1;", ";1", "1;;2", "1; -. ;2", " ", "\xFF"}) {
    EXPECT_EQ(split_recipients(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace msg_consumer::schema
