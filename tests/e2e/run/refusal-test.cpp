// SPDX-License-Identifier: Apache-2.0
#include <sqlite3.h>

#include <filesystem>

#include "run-test.hpp"

namespace msg_consumer::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

struct CommandLine {
  const char* name;
  Arguments arguments;
  const char* words;
};

class RefusedCommandLine : public Run, public testing::WithParamInterface<CommandLine> {};

TEST_P(RefusedCommandLine, IsExplainedBeforeAnythingStarts) {
  const Outcome outcome = run(GetParam().arguments);
  EXPECT_EQ(outcome.status, 125);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, StartsWith("msg-consumer-run: "));
  EXPECT_THAT(outcome.err, HasSubstr(GetParam().words));
  EXPECT_TRUE(nothing_is_left());
}

INSTANTIATE_TEST_SUITE_P(
    Each, RefusedCommandLine,
    testing::Values(
        CommandLine{"NoCommand", {}, "there is no command to run; see 'msg-consumer-run --help'"},
        CommandLine{"NoCommandBehindTheMark", {"--keep", "--"}, "there is no command to run"},
        CommandLine{"AnUnknownOption", {"--frobnicate", "--", "true"}, "'--frobnicate' was not understood"},
        CommandLine{"AnUnknownOptionWithoutAMark", {"--frobnicate", "true"}, "'--frobnicate' was not understood"},
        CommandLine{"AWordBeforeTheMark", {"word", "--", "true"}, "'word' was not understood"},
        CommandLine{"AnOptionWithoutItsFile", {"--store"}, "--store"},
        CommandLine{"AScenarioThatIsMissing",
                    {"--scenario", "/no/such.json", "--", "true"},
                    "cannot read the scenario '/no/such.json': No such file"},
        CommandLine{
            "AScenarioThatIsAFolder", {"--scenario", "/etc", "--", "true"}, "the scenario '/etc' is not a file"},
        CommandLine{"AStoreThatIsMissing",
                    {"--store", "/no/such.db", "--", "true"},
                    "cannot read the store '/no/such.db': No such file"},
        CommandLine{"AStoreThatIsAFolder", {"--store", "/etc", "--", "true"}, "the store '/etc' is not a file"},
        CommandLine{"AStoreThatIsNoDatabase",
                    {"--store", "/etc/passwd", "--", "true"},
                    "'/etc/passwd' is not a message store: it is no SQLite database"},
        CommandLine{"AnEmptyStore", {"--store", "/dev/null", "--", "true"}, "the store '/dev/null' is not a file"},
        CommandLine{"AttachmentsWithoutAStore", {"--files", "/etc", "--", "true"}, "--files needs --store"}),
    [](const auto& row) { return row.param.name; });

class Refused : public Run {
 protected:
  std::string make_database(const char* statements) {
    const std::string path = _folder.file("database");
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
    return path;
  }

  void expect_refusal(const Outcome& outcome, const std::string& words) {
    EXPECT_EQ(outcome.status, 125);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(words));
    EXPECT_TRUE(nothing_is_left());
  }
};

TEST_F(Refused, IsAnotherApplicationsDatabase) {
  const std::string path = make_database("PRAGMA application_id = 4711; CREATE TABLE message (id INTEGER)");
  const std::string before = read_file(path);
  expect_refusal(run({"--store", path, "--", "echo", "ran"}), "another application's database");
  EXPECT_EQ(read_file(path), before);
}

TEST_F(Refused, IsAStoreCutShort) {
  write_file(_folder.file("short"), std::string("SQLite format 3\0", 16));
  expect_refusal(run({"--store", _folder.file("short"), "--", "echo", "ran"}), "it is no SQLite database");
}

// What only the emulator can tell, it says itself.
TEST_F(Refused, IsAStoreOfAnotherVersionInTheWordsOfTheEmulator) {
  const std::string path =
      make_database("PRAGMA application_id = 0x4d534743; PRAGMA user_version = 99; CREATE TABLE message (id INTEGER)");
  const Outcome outcome = run({"--store", path, "--", "echo", "ran"});
  expect_refusal(outcome, "the emulator does not start (exit status 1)");
  EXPECT_THAT(outcome.err, HasSubstr("99"));
}

TEST_F(Refused, IsAnAttachmentsFolderThatIsMissing) {
  const std::string path = make_database("PRAGMA application_id = 0x4d534743; CREATE TABLE message (id INTEGER)");
  expect_refusal(run({"--store", path, "--files", _folder.file("none"), "--", "echo", "ran"}), "are no folder");
}

TEST_F(Refused, IsAnEmulatorThatDoesNotStartWithWhatItSays) {
  const std::string script = _folder.file("emulator");
  write_file(script, "#!/bin/sh\necho \"step 3: no such step: $*\" >&2\nexit 9\n");
  write_file(_folder.file("scenario.json"), "{}");
  fs::permissions(script, fs::perms::owner_all);
  const Outcome outcome =
      run({"--scenario", _folder.file("scenario.json"), "--", "echo", "ran"}, {{"MSG_CONSUMER_EMULATOR", script}});
  expect_refusal(outcome, "the emulator does not start (exit status 9):\nstep 3: no such step: --scenario " +
                              _folder.file("scenario.json"));
}

TEST_F(Refused, IsAnEmulatorThatIsNotThere) {
  expect_refusal(run({"--", "echo", "ran"}, {{"MSG_CONSUMER_EMULATOR", "/no/emulator"}}),
                 "MSG_CONSUMER_EMULATOR names no program: '/no/emulator'");
}

TEST_F(Refused, IsAMachineWithoutABus) {
  expect_refusal(run({"--", "/bin/echo", "ran"}, {{"PATH", "/no/folder"}}), "cannot run 'dbus-daemon': No such file");
}

TEST_F(Refused, IsAFolderForTemporaryFilesThatIsMissing) {
  expect_refusal(run({"--", "echo", "ran"}, {{"TMPDIR", "/no/folder"}}), "there is no folder for temporary files");
}

TEST_F(Refused, IsAFolderForTemporaryFilesWithTooLongAName) {
  const fs::path folder = _folder.path() / std::string(100, 'x');
  fs::create_directory(folder);
  expect_refusal(run({"--", "echo", "ran"}, {{"TMPDIR", folder.string()}}), "too long for a socket");
  EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(Refused, IsNothingOfHelpAndVersion) {
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("Usage: msg-consumer-run [OPTIONS] -- COMMAND [ARGUMENT...]"));
  EXPECT_THAT(help.out, HasSubstr("Examples:"));
  const Outcome version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.out, StartsWith("msg-consumer-run "));
}

}  // namespace
}  // namespace msg_consumer::test
