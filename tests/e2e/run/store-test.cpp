// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <map>

#include "run-test.hpp"
#include "support/wait-until.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

/// A store with one message, an MMS, as an earlier run left it.
class GivenStore : public Run {
 protected:
  GivenStore() {
    write_file(_folder.file("note.txt"), "attached");
    EXPECT_EQ(
        run({"--keep", "--", MSGCTL_PATH, "mms", "--to", "+1", "--file", _folder.file("note.txt"), "given"}).status, 0);
    EXPECT_EQ(temporary_files().size(), 1U);
    fs::rename(_temporary.path() / temporary_files().front(), _given);
  }

  /// Every file in the store's folder with its content.
  std::map<std::string, std::string> content() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(_given)) {
      if (entry.is_regular_file()) files[entry.path()] = read_file(entry.path());
    }
    return files;
  }

  Outcome with_store(const std::string& command_line, Arguments options = {}) {
    options.insert(options.end(), {"--store", _given / "messages.db", "--", "sh", "-c", command_line});
    return run(options);
  }

  fs::path _given = _folder.path() / "given";
};

TEST_F(GivenStore, IsWhatTheCommandBeginsWith) {
  const Outcome outcome = with_store("$MSGCTL send --thread 1 more && $MSGCTL conversation 1");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("sent as message 2"));
  EXPECT_THAT(outcome.out, HasSubstr("given"));
  EXPECT_TRUE(nothing_is_left());
}

TEST_F(GivenStore, StaysAsItIs) {
  const auto before = content();
  EXPECT_EQ(with_store("$MSGCTL delete 1 && $MSGCTL send --to +2 more").status, 0);
  EXPECT_EQ(content(), before);
}

TEST_F(GivenStore, BringsWhatIsOnlyInItsLog) {
  const Outcome crashed = run({"--keep", "--store", _given / "messages.db", "--", "sh", "-c",
                               "$MSGCTL send --to +2 'only in the log' && $MSGCTL status --json >$RUN_TEST_MARK/status"
                               "; kill -KILL $(grep -o '\"process_id\":[0-9]*' $RUN_TEST_MARK/status | cut -d: -f2)"});
  EXPECT_EQ(crashed.status, 0) << crashed.err;
  ASSERT_EQ(temporary_files().size(), 1U);
  const fs::path folder = _temporary.path() / temporary_files().front();
  ASSERT_GT(fs::file_size(folder / "messages.db-wal"), 0U);
  const Outcome outcome = run({"--store", folder / "messages.db", "--", MSGCTL_PATH, "messages"});
  EXPECT_THAT(outcome.out, HasSubstr("only in the log"));
}

TEST_F(GivenStore, BringsTheAttachmentsBesideIt) {
  const Outcome outcome = with_store("cat $MSG_CONSUMER_FILES/1/*note.txt");
  EXPECT_EQ(outcome.out, "attached") << outcome.err;
}

TEST_F(GivenStore, BringsAttachmentsFromElsewhere) {
  fs::rename(_given / "files", _folder.path() / "attachments");
  EXPECT_NE(with_store("cat $MSG_CONSUMER_FILES/1/*note.txt").status, 0);
  const Outcome outcome = with_store("cat $MSG_CONSUMER_FILES/1/*note.txt", {"--files", _folder.file("attachments")});
  EXPECT_EQ(outcome.out, "attached") << outcome.err;
}

TEST_F(GivenStore, GivesItsAttachmentsOutOfTheCopy) {
  const std::string copy = _folder.file("copy.txt");
  const Outcome outcome = with_store("$MSGCTL content get 1 " + copy + " && $MSGCTL conversation 1 --json");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(read_file(copy), "attached");
  EXPECT_THAT(outcome.out, testing::ContainsRegex(_temporary.path().string() + "/[^/]*/files/1/[0-9]*-note.txt"));
  EXPECT_THAT(outcome.out, Not(HasSubstr(_given.string())));
}

TEST_F(GivenStore, MayBeReadOnly) {
  for (const auto& entry : fs::recursive_directory_iterator(_given)) {
    fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::remove);
  }
  const Outcome outcome = with_store("stat -c %a $MSG_CONSUMER_DB && $MSGCTL send --to +2 more && $MSGCTL delete 1");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_TRUE(nothing_is_left());
  for (const auto& entry : fs::recursive_directory_iterator(_given)) {
    fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
  }
}

TEST_F(GivenStore, IsRefusedWhileAServiceWritesToIt) {
  const auto process = start_shell("$MSGCTL status >/dev/null; echo ready; sleep 1000");
  ASSERT_TRUE(has_said(*process, "ready"));
  ASSERT_EQ(temporary_files().size(), 1U);
  const fs::path store = _temporary.path() / temporary_files().front() / "messages.db";
  const Outcome outcome = run({"--store", store, "--", "echo", "ran"});
  EXPECT_EQ(outcome.status, 125);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("is in use"));
}

}  // namespace
}  // namespace msg_consumer::test
