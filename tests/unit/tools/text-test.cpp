// SPDX-License-Identifier: Apache-2.0
#include "msgctl/text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace msgctl {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

struct PrintableCase {
  const char* name;
  std::string text;
  std::string expected;
};

class Printable : public testing::TestWithParam<PrintableCase> {};

TEST_P(Printable, ShowsWhatWouldActOnATerminal) { EXPECT_EQ(printable(GetParam().text), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Texts, Printable,
    testing::Values(PrintableCase{"Empty", "", ""}, PrintableCase{"PlainText", "On my way", "On my way"},
                    PrintableCase{"OtherScripts", "Καλημέρα 你好 नमस्ते 👍", "Καλημέρα 你好 नमस्ते 👍"},
                    PrintableCase{"Newline", "a\nb", "a\\nb"}, PrintableCase{"CarriageReturn", "a\rb", "a\\rb"},
                    PrintableCase{"Tab", "a\tb", "a\\tb"},
                    PrintableCase{"EscapeSequence", "\033[31mred", "\\x1b[31mred"},
                    PrintableCase{"Delete", "a\x7f", "a\\x7f"}, PrintableCase{"Nul", "a\0b"s, "a\\x00b"},
                    PrintableCase{"ControlAbove127", "a\u009bb", "a\\x9bb"},
                    PrintableCase{"ReversedDirection", "a\u202eb", "a\\u202eb"},
                    PrintableCase{"IsolatedDirection", "a\u2067b", "a\\u2067b"},
                    PrintableCase{"LineSeparator", "a\u2028b", "a\\u2028b"},
                    PrintableCase{"JoinedEmojiIsKept", "👩\u200d🚀", "👩\u200d🚀"},
                    PrintableCase{"BytesThatAreNotUtf8", "a\xff\xc3", "a\\xff\\xc3"},
                    PrintableCase{"SurrogateHalf", "\xed\xa0\x80", "\\xed\\xa0\\x80"}),
    [](const auto& row) { return row.param.name; });

TEST(Printable, KeepsNewlinesWhereAsked) { EXPECT_EQ(printable("a\nb\tc\n", Newlines::Keep), "a\nb\\tc\n"); }

struct WidthCase {
  const char* name;
  std::string text;
  std::size_t width;
};

class DisplayWidth : public testing::TestWithParam<WidthCase> {};

TEST_P(DisplayWidth, IsWhatATerminalTakes) { EXPECT_EQ(display_width(GetParam().text), GetParam().width); }

INSTANTIATE_TEST_SUITE_P(Texts, DisplayWidth,
                         testing::Values(WidthCase{"Empty", "", 0}, WidthCase{"Latin", "Grüße", 5},
                                         WidthCase{"CombiningAccent", "e\u0301", 1}, WidthCase{"Wide", "你好", 4},
                                         WidthCase{"FullWidthForms", "ＡＢ", 4}, WidthCase{"Emoji", "👍", 2},
                                         WidthCase{"ZeroWidthJoiner", "a\u200db", 2},
                                         WidthCase{"JoinedEmoji", "👩\u200d👩\u200d👧", 2},
                                         WidthCase{"EmojiPresentation", "❤\ufe0f", 2},
                                         WidthCase{"Keycap", "1\ufe0f\u20e3", 2}, WidthCase{"Flags", "🇨🇭🇯🇵", 4},
                                         WidthCase{"SkinTone", "👍🏽", 2}, WidthCase{"SpacingMark", "नि", 2},
                                         WidthCase{"FromTheRight", "שלום", 4},
                                         WidthCase{"IsolatedFromTheRight", "\u2068שלום\u2069", 4}),
                         [](const auto& row) { return row.param.name; });

struct FitCase {
  const char* name;
  std::string text;
  std::size_t width;
  std::string expected;
};

class Fit : public testing::TestWithParam<FitCase> {};

TEST_P(Fit, CutsAndMarksTheCut) {
  const std::string result = fit(GetParam().text, GetParam().width);
  EXPECT_EQ(result, GetParam().expected);
  EXPECT_LE(display_width(result), GetParam().width);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Fit,
    testing::Values(FitCase{"Shorter", "abc", 5, "abc"}, FitCase{"ExactlyFitting", "abcde", 5, "abcde"},
                    FitCase{"OneTooLong", "abcdef", 5, "abcd…"}, FitCase{"OneColumn", "abc", 1, "…"},
                    FitCase{"NoColumn", "abc", 0, ""}, FitCase{"WideExactlyFitting", "你好", 4, "你好"},
                    FitCase{"WideIsNeverHalved", "你好吗", 4, "你…"},
                    FitCase{"WideFillsUpToTheMark", "你好吗", 5, "你好…"},
                    FitCase{"AccentStaysWithItsLetter", "e\u0301e\u0301e\u0301", 2, "e\u0301…"},
                    FitCase{"JoinedEmojiAreCutWhole", "👩\u200d👩\u200d👧x", 6, "…"},
                    FitCase{"JoinedEmojiFitWhereDrawnOneByOne", "👩\u200d👩\u200d👧x", 7, "👩\u200d👩\u200d👧x"},
                    FitCase{"FlagsAreCutWhole", "🇨🇭🇯🇵", 3, "🇨🇭…"},
                    FitCase{"ToneStaysWithItsEmoji", "👍🏽abc", 5, "👍🏽…"},
                    FitCase{"AccentAtTheEndFits", "ae\u0301", 2, "ae\u0301"}),
    [](const auto& row) { return row.param.name; });

TEST(WidestWidth, CountsWhatSomeTerminalsDrawOneByOne) {
  EXPECT_EQ(widest_width("👩\u200d👩\u200d👧"), 6U);
  EXPECT_EQ(widest_width("❤\ufe0f"), 2U);
  EXPECT_EQ(widest_width("👍🏽"), 4U);
  EXPECT_EQ(widest_width("你好 e\u0301"), display_width("你好 e\u0301"));
}

TEST(Isolated, MarksOnlyWhatIsWrittenFromTheRight) {
  EXPECT_EQ(isolated("abc 你好 👍"), "abc 你好 👍");
  EXPECT_EQ(isolated("abc שלום"), "\u2068abc שלום\u2069");
  EXPECT_EQ(isolated("مرحبا"), "\u2068مرحبا\u2069");
  EXPECT_EQ(isolated("\xd7"), "\xd7");
}

TEST(Wrapped, BreaksBetweenWordsAndCutsLongOnes) {
  EXPECT_THAT(wrapped("one two three", 8), ElementsAre("one two", "three"));
  EXPECT_THAT(wrapped("", 8), ElementsAre(""));
  EXPECT_THAT(wrapped("abcdefghij k", 5), ElementsAre("abcd…", "k"));
  EXPECT_THAT(wrapped("你好 世界", 5), ElementsAre("你好", "世界"));
}

TEST(IsSendable, RefusesWhatIsNotUtf8) {
  EXPECT_TRUE(is_sendable(""));
  EXPECT_TRUE(is_sendable("Grüße 👍"));
  EXPECT_FALSE(is_sendable("Gr\xfc\xdf"));
  EXPECT_FALSE(is_sendable("a\0b"s));
}

}  // namespace
}  // namespace msgctl
