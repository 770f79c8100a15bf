// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "kit-run.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

/// A filler of a few lines.
class FillerScript {
 public:
  explicit FillerScript(const std::string& lines) {
    write_file(path(), "#!/bin/sh\n" + lines + "\n");
    chmod(path().c_str(), 0700);
  }

  [[nodiscard]] std::string path() const { return _folder.file("filler"); }

 private:
  TempDir _folder;
};

TEST(Kit, ListsItsSentences) {
  const KitRun store = run_kit({"store", "--list"});
  EXPECT_EQ(store.status, 0);
  EXPECT_THAT(store.output, HasSubstr("lists: a negative offset or limit is refused\n"));
  const KitRun platform = run_kit({"platform", "--list", "--filter", "errno"});
  EXPECT_EQ(platform.output, "log: errno is kept\n");
}

TEST(Kit, ChecksTheSentencesThatAreAskedFor) {
  const KitRun run = run_kit({"store", "--filter", "catalogue", "--tap"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.holding.size(), 4U);
  EXPECT_THAT(run.output, testing::StartsWith("TAP version 13\n1..4\nok 1 - catalogue: "));
}

TEST(Kit, TellsPeopleWhatItFound) {
  const std::string library = std::string(BROKEN_FOLDER) + "/broken-store/thread-with-a-participant.so";
  const KitRun run = run_kit({"store", "--library", library, "--filter", "a thread "});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr("records\n"
                                    "  FAILS   a thread is made as its header says\n"
                                    "            a new record.num_k: expected 0, saw 1\n"
                                    "  holds   a thread keeps to its size\n"));
  EXPECT_THAT(run.output, HasSubstr(" hold, 1 fail, "));
}

TEST(Kit, SkipsWhatNeedsDataWhenThereIsNoFiller) {
  const KitRun run = run_kit({"store", "--filter", "subscription", "--tap"});
  EXPECT_EQ(run.status, 2) << "nothing was checked";
  EXPECT_EQ(run.skipped.size(), 2U);
  EXPECT_THAT(run.output, HasSubstr("# SKIP --filler"));
}

TEST(Kit, SkipsStatesThatTheFillerDoesNotKnow) {
  const FillerScript filler("exit 3");
  const KitRun run = run_kit({"platform", "--filler", filler.path(), "--filter", "preferences", "--tap"});
  EXPECT_EQ(run.status, 2) << "nothing was checked";
  EXPECT_EQ(run.skipped.size(), 15U);
}

TEST(Kit, IsContentWhenSomeSentencesHoldAndTheOthersAreSkipped) {
  const KitRun run = run_kit({"store", "--tap"});
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_THAT(run.holding, testing::Not(testing::IsEmpty()));
  EXPECT_THAT(run.skipped, testing::Not(testing::IsEmpty()));
}

TEST(Kit, GivesTheFillerTheDataAndAFolder) {
  const FillerScript filler(
      R"(grep -q '"Hello world"' "$1" && test -d "$2" && test "$PWD" = "$2" && echo MSG_CONSUMER_DB=/none)");
  const KitRun run = run_kit({"store", "--filler", filler.path(), "--filter", "a query opens the store", "--tap"});
  EXPECT_EQ(run.status, 1) << run.errors;
  EXPECT_EQ(run.failing.size(), 1U) << "the library must have looked for the store where the filler said";
}

TEST(Kit, PrintsTheDataOfAState) {
  const KitRun run = run_kit({"store", "--fixture", "empty"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, HasSubstr("\"subscription\": null"));
  EXPECT_THAT(run_kit({"platform", "--fixture", "stored"}).output, HasSubstr("consumer_preference_bool_wpc_mode"));
}

struct Trouble {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

void PrintTo(const Trouble& trouble, std::ostream* out) { *out << trouble.name; }

class KitInTrouble : public testing::TestWithParam<Trouble> {};

TEST_P(KitInTrouble, SaysSoAndChecksNothing) {
  const KitRun run = run_kit(GetParam().arguments);
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors + run.output, HasSubstr(GetParam().message));
  EXPECT_THAT(run.holding, testing::IsEmpty());
}

const Trouble TROUBLES[] = {
    {"NoSide", {}, "A subcommand is required"},
    {"UnknownOption", {"store", "--unknown"}, "--unknown"},
    {"NoLibrary", {"store", "--library", "/nonexistent/library.so"}, "there is no library at /nonexistent/library.so"},
    {"NotALibrary", {"store", "--library", "/etc/passwd"}, "cannot be used"},
    {"NoFiller", {"store", "--filler", "/nonexistent/filler"}, "there is no filler at /nonexistent/filler"},
    {"FillerFails", {"store", "--filler", "/bin/false"}, "the filler failed, it exited with status 1"},
    {"FillerSaysSomethingElse", {"store", "--filler", "/bin/echo", "--filter", "threads"}, "is not NAME=VALUE"},
    {"NoSentence", {"store", "--filter", "no such sentence"}, "no sentence contains"},
    {"NoState",
     {"store", "--fixture", "no such state"},
     "conformance: there is no state of this name: no such state\n"},
    {"NoTime", {"store", "--time-limit", "0"}, "--time-limit"},
};

INSTANTIATE_TEST_SUITE_P(Troubles, KitInTrouble, testing::ValuesIn(TROUBLES),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace msg_consumer::test
