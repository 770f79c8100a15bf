// SPDX-License-Identifier: Apache-2.0
#include "msgctl/table.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "msgctl/text.hpp"

namespace msgctl {
namespace {

using testing::ElementsAre;

const std::vector<Column> columns = {{"ID", Align::Right}, {"WITH", Align::Left, 6}, {"TEXT", Align::Left, 10}};

std::vector<std::string> lines_of(const std::vector<Column>& shape, const std::vector<Row>& rows,
                                  const Screen& screen) {
  Table table(shape, screen);
  for (const Row& row : rows) table.measure(row);
  table.settle();
  std::vector<std::string> lines = {table.header()};
  for (const Row& row : rows) lines.push_back(table.line(row));
  return lines;
}

TEST(FittedWidths, StayNaturalWhereThereIsRoom) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 20}, 37), ElementsAre(3, 10, 20));
}

TEST(FittedWidths, TakeFromTheWidestColumnThatMayShrink) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 20}, 30), ElementsAre(3, 10, 13));
  EXPECT_THAT(fitted_widths(columns, {3, 30, 30}, 47), ElementsAre(3, 20, 20));
}

TEST(FittedWidths, StopAtTheMinimumOfAColumn) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 20}, 23), ElementsAre(3, 6, 10));
}

TEST(FittedWidths, ShortenEveryColumnAsALastResort) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 20}, 10), ElementsAre(2, 2, 2));
}

TEST(FittedWidths, KeepOneColumnEachOnAScreenOfNoUse) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 20}, 0), ElementsAre(1, 1, 1));
}

TEST(FittedWidths, DoNotCountDownFromAVeryLongText) {
  EXPECT_THAT(fitted_widths(columns, {3, 10, 4'000'000'000}, 80), ElementsAre(3, 10, 63));
}

TEST(Table, AlignsColumnsByTheirWidthOnTheScreen) {
  const auto lines = lines_of(columns, {{{"1"}, {"你好"}, {"wide"}}, {{"12"}, {"e\u0301e\u0301"}, {"combining"}}}, {});
  EXPECT_THAT(lines, ElementsAre("ID  WITH  TEXT\n", " 1  你好  wide\n", "12  e\u0301e\u0301    combining\n"));
}

TEST(Table, EscapesControlCharactersBeforeMeasuring) {
  EXPECT_THAT(lines_of({{"A"}, {"B"}}, {{{"x\ny"}, {"z"}}}, {}), ElementsAre("A     B\n", "x\\ny  z\n"));
}

TEST(Table, ColoursOnlyTheTextAndOnlyWhereTheScreenHasColour) {
  const std::vector<Row> rows = {{{"x", Style::Red}, {"y"}}};
  EXPECT_EQ(lines_of({{"AB"}, {"C"}}, rows, {80, true})[1], "\033[31mx\033[0m   y\n");
  EXPECT_EQ(lines_of({{"AB"}, {"C"}}, rows, {80, false})[1], "x   y\n");
}

TEST(ShownColumns, LeaveOutTheMostDispensableFirst) {
  const std::vector<Column> shape = {
      {"ID"}, {"A", Align::Left, 0, 1}, {"B", Align::Left, 4, 2}, {"TEXT", Align::Left, 5}};
  const std::vector<std::size_t> widths = {3, 6, 9, 30};
  EXPECT_THAT(shown_columns(shape, widths, 60), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(shown_columns(shape, widths, 24), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(shown_columns(shape, widths, 23), ElementsAre(0, 1, 3));
  EXPECT_THAT(shown_columns(shape, widths, 17), ElementsAre(0, 3));
  EXPECT_THAT(shown_columns(shape, widths, 1), ElementsAre(0, 3));
}

TEST(Table, LeavesColumnsOutOnANarrowScreen) {
  const std::vector<Column> shape = {{"ID"}, {"TIME", Align::Left, 0, 1}, {"TEXT", Align::Left, 5}};
  EXPECT_THAT(lines_of(shape, {{{"1"}, {"09:30"}, {"hello"}}}, {10, false}), ElementsAre("ID  TEXT\n", "1   hello\n"));
}

TEST(Table, TellsATerminalWhereAColumnBeginsBehindATextOfDoubtfulWidth) {
  const std::vector<Row> rows = {{{"👩\u200d🚀"}, {"x"}}};
  EXPECT_EQ(lines_of({{"A"}, {"B"}}, rows, {80, false, true})[1], "👩\u200d🚀\033[7Gx\n");
  EXPECT_EQ(lines_of({{"A"}, {"B"}}, rows, {80, false, false})[1], "👩\u200d🚀    x\n");
}

TEST(Table, IsolatesWhatIsWrittenFromTheRightOnATerminal) {
  const std::vector<Row> rows = {{{"שלום"}, {"x"}}};
  EXPECT_EQ(lines_of({{"A"}, {"B"}}, rows, {80, false, true})[1], "\u2068שלום\u2069  x\n");
  EXPECT_EQ(lines_of({{"A"}, {"B"}}, rows, {80, false, false})[1], "שלום  x\n");
}

TEST(Table, NeverExceedsTheScreen) {
  std::mt19937 random(1);
  const std::vector<std::string> symbols = {"a",    "é",        "你", "👍",       "e\u0301", "\n",
                                            "\xff", "👩\u200d👧", "🇨🇭", "❤\ufe0f", "👍🏽"};
  for (int round = 0; round < 300; ++round) {
    std::vector<Row> rows(3);
    for (Row& row : rows) {
      for (std::size_t i = 0; i < columns.size(); ++i) {
        std::string text;
        for (auto length = random() % 40; length > 0; --length) text += symbols[random() % symbols.size()];
        row.push_back({text});
      }
    }
    const std::size_t width = 12 + random() % 80;
    for (const std::string& line : lines_of(columns, rows, {width, false})) {
      EXPECT_LE(display_width(line.substr(0, line.size() - 1)), width) << line;
    }
  }
}

}  // namespace
}  // namespace msgctl
