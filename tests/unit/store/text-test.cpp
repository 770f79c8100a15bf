// SPDX-License-Identifier: Apache-2.0
#include <glib.h>
#include <gtest/gtest.h>

#include <random>

#include "named-row.hpp"
#include "random-text.hpp"
#include "schema/text.hpp"

namespace msg_consumer::schema {
namespace {

struct Match {
  const char* name;
  const char* left;
  const char* right;
  bool same;
};

void PrintTo(const Match& match, std::ostream* out) { *out << match.name; }

class Folding : public testing::TestWithParam<Match> {};

TEST_P(Folding, MakesEqualWhatDiffersInCaseOrComposition) {
  EXPECT_EQ(fold(GetParam().left) == fold(GetParam().right), GetParam().same);
}

constexpr Match MATCHES[] = {
    {"Ascii", "Hello World 42", "hELLO wORLD 42", true},
    {"AsciiDiffers", "hello", "hallo", false},
    {"ComposedAccent", "caf\u00E9", "cafe\u0301", true},
    {"ComposedAccentInCapitals", "CAF\u00C9", "cafe\u0301", true},
    {"AccentCounts", "caf\u00E9", "cafe", false},
    {"SharpS", "Stra\u00DFe", "STRASSE", true},
    {"FinalSigma", "\u039F\u03B4\u03CC\u03C2", "\u03BF\u03B4\u03CC\u03C3", true},
    {"Cyrillic", "\u041F\u0420\u0418\u0412\u0415\u0422", "\u043F\u0440\u0438\u0432\u0435\u0442", true},
    {"HangulComposed", "\uD55C", "\u1112\u1161\u11AB", true},
    {"Arabic", "\u0645\u0631\u062D\u0628\u0627", "\u0645\u0631\u062D\u0628\u0627", true},
    {"Devanagari", "\u0928\u092E\u0938\u094D\u0924\u0947", "\u0928\u092E\u0938\u094D\u0924\u0947", true},
    {"Chinese", "\u4F60\u597D", "\u4F60\u597D", true},
    {"ChineseDiffers", "\u4F60\u597D", "\u4F60\u4EEC", false},
    {"Emoji", "ok \U0001F44D", "OK \U0001F44D", true},
    {"EmojiDiffers", "\U0001F44D", "\U0001F44E", false},
    {"Empty", "", "", true},
};

INSTANTIATE_TEST_SUITE_P(Texts, Folding, testing::ValuesIn(MATCHES), test::name_of_row);

TEST(Folding, TheShortWayForAsciiGivesWhatTheLongWayGives) {
  for (char c = 1; c > 0; ++c) {
    if (c == '\x1f') continue;
    const std::string text = std::string("x") + c + "Y";
    char* composed = g_utf8_normalize(text.c_str(), -1, G_NORMALIZE_NFC);
    char* folded = g_utf8_casefold(composed, -1);
    EXPECT_EQ(fold(text), folded) << static_cast<int>(c);
    g_free(folded);
    g_free(composed);
  }
}

TEST(Folding, RefusesTextThatIsNotUtf8) {
  for (const auto text : {"\xFF", "abc\xC3", "\xED\xA0\x80", "\xF8\x88\x80\x80\x80"}) {
    EXPECT_EQ(fold(text), std::nullopt);
    EXPECT_FALSE(is_utf8(text));
  }
  EXPECT_EQ(fold(std::string_view("a\0b", 3)), std::nullopt);
}

TEST(Folding, IsStable) {
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
  for (int i = 0; i < 2000; ++i) {
    const std::string text = test::random_text(random, 12);
    const auto once = fold(text);
    ASSERT_TRUE(once) << text;
    EXPECT_EQ(fold(*once), once) << text;
  }
}

// The separator and what the index can't tell from U+FFFD.
TEST(Folding, ReplacesReservedCharacters) {
  EXPECT_EQ(fold("A\x1f"
                 "B"),
            "a\uFFFDb");
  EXPECT_EQ(fold("A\uFFFE\uFFFF\uFFFD"
                 "B"),
            "a\uFFFD\uFFFD\uFFFDb");
}

TEST(SearchableText, HoldsBodySubjectSenderAndAddresses) {
  Message message;
  message.str_d = "BODY";
  message.str_o = "Subject";
  message.str_p = "Sender";
  message.addresses.resize(2);
  message.addresses[0].address = "First";
  message.addresses[1].address = "Second";
  const auto text = searchable_text(message);
  ASSERT_TRUE(text);
  for (const auto* word : {"body", "subject", "sender", "first", "second"}) {
    EXPECT_NE(text->find(word), std::string::npos) << word;
  }
}

TEST(SearchableText, NoFoldedKeywordMatchesAcrossTwoTexts) {
  Message message;
  message.str_d = "ab";
  message.str_o = "cd";
  const std::string text = searchable_text(message).value();
  for (const auto* keyword : {"abcd", "bc",
                              "b\x1f"
                              "c",
                              "b\uFFFD"
                              "c",
                              "b\uFFFF"
                              "c"}) {
    EXPECT_EQ(text.find(fold(keyword).value()), std::string::npos) << keyword;
  }
}

TEST(SearchableText, IsRefusedWhenAnyTextIsNotUtf8) {
  Message body;
  body.str_d = "\xFF";
  EXPECT_EQ(searchable_text(body), std::nullopt);
  Message address;
  address.addresses.resize(1);
  address.addresses[0].address = "\xFF";
  EXPECT_EQ(searchable_text(address), std::nullopt);
}

TEST(Characters, AreCountedAsCodePoints) {
  EXPECT_EQ(length_in_characters(""), 0U);
  EXPECT_EQ(length_in_characters("abc"), 3U);
  EXPECT_EQ(length_in_characters("\u00E9\u4F60\U0001F44D"), 3U);
}

}  // namespace
}  // namespace msg_consumer::schema
