// SPDX-License-Identifier: Apache-2.0
#include "msgctl/backup/surrogate-filter.hpp"

#include <gtest/gtest.h>

#include "msgctl/backup/data-attributes.hpp"

namespace msgctl {
namespace {

struct Row {
  const char* name;
  const char* text;
  const char* filtered;
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.name; }

class Surrogates : public testing::TestWithParam<Row> {};

TEST_P(Surrogates, AreJoinedWhereverThePiecesEnd) {
  const std::string text = GetParam().text;
  for (std::size_t size = 1; size <= text.size() + 1; ++size) {
    SurrogateFilter filter;
    std::string filtered;
    for (std::size_t begin = 0; begin < text.size(); begin += size) {
      filtered += filter.take(std::string_view(text).substr(begin, size));
    }
    filtered += filter.finish();
    EXPECT_EQ(filtered, GetParam().filtered) << "in pieces of " << size;
  }
}

const Row ROWS[] = {
    {"Nothing", "", ""},
    {"PlainText", "a < b > c", "a < b > c"},
    {"Pair", "x&#55357;&#56832;y", "x&#128512;y"},
    {"HexadecimalPair", "&#xD83D;&#xde00;", "&#128512;"},
    {"TwoPairs", "&#55357;&#56832;&#55357;&#56833;", "&#128512;&#128513;"},
    {"LoneHigh", "&#55357;x", "&#xFFFD;x"},
    {"LoneLow", "&#56832;x", "&#xFFFD;x"},
    {"HighAtTheEnd", "&#55357;", "&#xFFFD;"},
    {"HighBeforeAPair", "&#55357;&#55357;&#56832;", "&#xFFFD;&#128512;"},
    {"HighBeforeAnother", "&#55357;&#65;", "&#xFFFD;&#65;"},
    {"TextBetween", "&#55357; &#56832;", "&#xFFFD; &#xFFFD;"},
    {"Named", "&amp;&lt;&quot;", "&amp;&lt;&quot;"},
    {"HighBeforeNamed", "&#55357;&amp;", "&#xFFFD;&amp;"},
    {"Control", "&#0;&#8;&#10;", "&#xFFFD;&#xFFFD;&#10;"},
    {"TooGreat", "&#1114112;&#xFFFF;", "&#xFFFD;&#xFFFD;"},
    {"NoReference", "a & b && c", "a & b && c"},
    {"UnfinishedReference", "&#55357", "&#55357"},
    {"VeryLongReference", "&#00000000000000000000000065;", "&#00000000000000000000000065;"},
    {"NotANumber", "&#x;&#;&#zz;", "&#x;&#;&#zz;"},
};

INSTANTIATE_TEST_SUITE_P(Texts, Surrogates, testing::ValuesIn(ROWS), [](const auto& row) { return row.param.name; });

class Data : public testing::TestWithParam<Row> {};

// The values stand behind what is left of the text.
TEST_P(Data, IsTakenOutWhereverThePiecesEnd) {
  const std::string text = GetParam().text;
  for (std::size_t size = 1; size <= text.size() + 1; ++size) {
    DataAttributes attributes;
    std::string left;
    for (std::size_t begin = 0; begin < text.size(); begin += size) {
      left += attributes.take(std::string_view(text).substr(begin, size));
    }
    for (const char* number : {"1", "2"}) left += "|" + attributes.value(number);
    EXPECT_EQ(left, GetParam().filtered) << "in pieces of " << size;
  }
}

const Row DATA_ROWS[] = {
    {"OfAPart", R"(<part ct="a" data="AAAA" x="y"/>)", R"(<part ct="a" data="1" x="y"/>|AAAA|)"},
    {"OfTwoParts", R"(<part data='AA'/><part data = "BB">)", R"(<part data='1'/><part data = "2">|AA|BB)"},
    {"WithBlanks", "<part data=\"A A\n&#10;A\t\"/>", "<part data=\"1\"/>|AAA|"},
    {"OfAnotherElement", R"(<sms data="AAAA"/>)", R"(<sms data="AAAA"/>||)"},
    {"OfAnotherName", R"(<part mydata="A" data2="B"/>)", R"(<part mydata="A" data2="B"/>||)"},
    {"InAValue", R"(<part text="<part data='A'/>" x='data="B"'/>)",
     R"(<part text="<part data='A'/>" x='data="B"'/>||)"},
    {"InAText", R"(<a>part data="A"</a>)", R"(<a>part data="A"</a>||)"},
    {"InAComment", R"(<!-- <part data="A"/> > --><part data="B"/>)",
     R"(<!-- <part data="A"/> > --><part data="1"/>|B|)"},
    {"InAnEmptyComment", R"(<!----><part data="B"/>)", R"(<!----><part data="1"/>|B|)"},
    {"InASection", R"(<![CDATA[<part data="A"/>]]><part data="B"/>)",
     R"(<![CDATA[<part data="A"/>]]><part data="1"/>|B|)"},
    {"BehindAnInstruction", R"(<?xml version="1.0"?><part data="B"/>)", R"(<?xml version="1.0"?><part data="1"/>|B|)"},
    {"Empty", R"(<part data=""/>)", R"(<part data="1"/>||)"},
    {"Unended", R"(<part data="AAA)", R"(<part data="||)"},
};

INSTANTIATE_TEST_SUITE_P(Texts, Data, testing::ValuesIn(DATA_ROWS), [](const auto& row) { return row.param.name; });

TEST(SurrogateFilter, SeesADocumentTypeAcrossPieces) {
  SurrogateFilter filter;
  filter.take("<?xml?><<!DOC");
  EXPECT_FALSE(filter.saw_document_type());
  filter.take("TYPE x>");
  EXPECT_TRUE(filter.saw_document_type());
}

}  // namespace
}  // namespace msgctl
