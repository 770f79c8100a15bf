// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "service/emulator/segments.hpp"
#include "service/emulator/step-parser.hpp"
#include "service/record-values.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::service::emulator {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Row {
  std::string name;
  Json step;
  std::string error;  ///< what the refusal begins with; empty for a step that is taken
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.step; }

std::vector<Row> rows() {
  std::ifstream file(STEP_TABLE);
  std::vector<Row> result;
  for (const Json& row : Json::parse(file)) {
    result.push_back({.name = row["name"], .step = row["step"], .error = row.value("error", "")});
  }
  return result;
}

std::string refusal_of(const std::function<void()>& work) try {
  work();
  return "";
} catch (const InvalidStep& error) {
  return error.what();
}

class Steps : public testing::TestWithParam<Row> {};

TEST_P(Steps, AreTakenOrRefusedWithTheMemberAndTheReason) {
  const std::string error = refusal_of([] { EXPECT_EQ(parse_step(GetParam().step.dump()).source, GetParam().step); });
  if (GetParam().error.empty()) {
    EXPECT_EQ(error, "");
  } else {
    EXPECT_THAT(error, HasSubstr(GetParam().error));
  }
}

INSTANTIATE_TEST_SUITE_P(EachRow, Steps, testing::ValuesIn(rows()), [](const auto& row) { return row.param.name; });

struct BrokenText {
  const char* name;
  const char* text;
  const char* error;
};

void PrintTo(const BrokenText& row, std::ostream* out) { *out << row.text; }

class BrokenScenarios : public testing::TestWithParam<BrokenText> {};

TEST_P(BrokenScenarios, SayWhere) {
  EXPECT_THAT(refusal_of([] { parse_scenario(GetParam().text); }), StartsWith(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(
    EachText, BrokenScenarios,
    testing::Values(
        BrokenText{"Nothing", "", "line 1: it is not JSON"},
        BrokenText{"Cut", "{\n\"version\":1,\n", "line 3: it is not"},
        BrokenText{"NotUtf8", "{\"version\":1,\"steps\":[{\"do\":\"\xff\"}]}", "line 1: it is not"},
        BrokenText{"List", "[]", "a scenario must be an object"},
        BrokenText{"NoVersion", R"({"steps":[]})", "version: is missing"},
        BrokenText{"NewerVersion", R"({"version":2,"steps":[]})", "version: must be between 1 and 1"},
        BrokenText{"NoSteps", R"({"version":1})", "steps: must be a list"},
        BrokenText{"Unknown", R"({"version":1,"steps":[],"x":1})", "x: is not known here"},
        BrokenText{"SecondStep", R"({"version":1,"steps":[{"do":"clear"},{"do":"lock"}]})", "step 2.ms: is missing"},
        BrokenText{"MemberTwice", R"({"version":1,"steps":[{"do":"clear","do":"lock"}]})", "do: stands there twice"},
        BrokenText{"Deep", R"({"version":1,"steps":[[[[[[[[[[]]]]]]]]]]})", "it is nested too deeply"}),
    [](const auto& row) { return row.param.name; });

class ScenarioFiles : public testing::Test {
 protected:
  std::string load(const std::string& content) {
    test::write_file(path, content);
    return refusal_of([&] { steps = load_scenario(path); });
  }

  test::TempDir folder;
  std::string path = folder.file("scenario.json");
  std::vector<Step> steps;
};

TEST_F(ScenarioFiles, ThatAreMissingOrBrokenAreNamed) {
  EXPECT_EQ(refusal_of([&] { load_scenario(path); }), path + ": there is no such file");
  EXPECT_EQ(load(R"({"version":1,"steps":[{"do":"receive","type":"sms","from":""}]})"),
            path + ": step 1.from: must be an address");
}

TEST_F(ScenarioFiles, NameFilesBesideThem) {
  test::write_file(folder.file("picture.png"), "bytes");
  ASSERT_EQ(load(R"({"version":1,"steps":[{"do":"receive","type":"mms","from":"+1",)"
                 R"("parts":[{"mime_type":"image/png","name":"p.png","path":"picture.png"}]}]})"),
            "");
  EXPECT_EQ(std::get<Receive>(steps.at(0).action).parts.at(0).bytes, "bytes");
  EXPECT_EQ(load(R"({"version":1,"steps":[{"do":"receive","type":"mms","from":"+1",)"
                 R"("parts":[{"mime_type":"image/png","name":"p.png","path":"missing.png"}]}]})"),
            path + ": step 1.parts[0].path: there is no such file");
}

TEST_F(ScenarioFiles, AreTheOnlyPlaceForRelativePaths) {
  EXPECT_EQ(refusal_of([] {
              parse_step(R"({"do":"receive","type":"mms","from":"+1",)"
                         R"("parts":[{"mime_type":"image/png","name":"p.png","path":"picture.png"}]})");
            }),
            "parts[0].path: must be absolute");
}

TEST(StepTimes, AreThoseOfTheirZone) {
  const Step step = parse_step(R"({"do":"receive","type":"sms","from":"+1","time":"2023-11-14T23:13:20.5+01:00"})");
  EXPECT_EQ(std::get<Receive>(step.action).time_ms, 1'700'000'000'500);
}

TEST(StepTimes, ThatNoCalendarHasAreRefused) {
  EXPECT_THAT(
      refusal_of([] { parse_step(R"({"do":"receive","type":"sms","from":"+1","time":"2023-02-30T00:00:00Z"})"); }),
      StartsWith("time: must be a time"));
}

class LongMessages : public testing::Test {
 protected:
  /// The whole text, once it is there.
  std::optional<std::string> add(int number, const std::string& text, int reference = 1, const char* from = "+1") {
    Receive receive{};
    receive.type = TYPE_SMS;
    receive.from = from;
    receive.text = text;
    receive.segment = Segment{.reference = reference, .number = number, .of = 3};
    const std::optional<Receive> whole = segments.add(receive);
    return whole ? std::optional(whole->text) : std::nullopt;
  }

  Segments segments;
};

TEST_F(LongMessages, AreWholeWhateverTheOrderOfTheirSegments) {
  EXPECT_EQ(add(3, "c"), std::nullopt);
  EXPECT_EQ(add(1, "a"), std::nullopt);
  EXPECT_EQ(segments.state().dump(), R"([{"from":"+1","reference":1,"of":3,"have":[1,3]}])");
  EXPECT_EQ(add(2, "b"), "abc");
  EXPECT_EQ(segments.state().size(), 0U);
}

TEST_F(LongMessages, DoNotMindSegmentsThatComeTwice) {
  EXPECT_EQ(add(1, "a"), std::nullopt);
  EXPECT_EQ(add(1, "a"), std::nullopt);
  EXPECT_EQ(add(2, "b"), std::nullopt);
  EXPECT_EQ(add(3, "c"), "abc");
  EXPECT_EQ(add(2, "b"), std::nullopt) << "a late double of a complete message";
  EXPECT_EQ(segments.state().size(), 0U);
}

TEST_F(LongMessages, AreToldApartBySenderAndReference) {
  add(1, "a");
  add(2, "b");
  EXPECT_EQ(add(3, "c", 2), std::nullopt);
  EXPECT_EQ(add(3, "c", 1, "+2"), std::nullopt);
  EXPECT_EQ(add(3, "c"), "abc");
}

TEST_F(LongMessages, MayUseAReferenceAgain) {
  add(1, "a");
  add(2, "b");
  add(3, "c");
  EXPECT_EQ(add(1, "x"), std::nullopt);
  EXPECT_EQ(add(2, "b"), std::nullopt);
  EXPECT_EQ(add(3, "z"), "xbz");
}

}  // namespace
}  // namespace msg_consumer::service::emulator
