// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "service-test.hpp"
#include "service/attachments.hpp"

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;

class ContentCommands : public ServiceTest {
 protected:
  std::string file(const std::string& name, const std::string& content) const {
    const std::string file_path = folder.file(name);
    test::write_file(file_path, content);
    return file_path;
  }
  Creation send_mms(std::string_view text, const std::string& paths) {
    return commands.send_message({"mms", 0, "+4917", text, paths, 1});
  }
  std::size_t folders() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(file_root), fs::directory_iterator()));
  }
};

TEST_F(ContentCommands, AnMmsIsStoredWithItsParts) {
  const std::string paths = file("photo.JPG", "jpeg") + ";" + file("note", "binary");
  ASSERT_EQ(send_mms("look", paths).outcome.status, STATUS_OK);
  const Message message = stored(1);
  EXPECT_EQ(message.num_c, TYPE_MMS);
  EXPECT_EQ(message.str_d, "look");
  EXPECT_EQ(message.num_q, 4 + 4 + 6);
  ASSERT_EQ(message.contents.size(), 3U);

  const Content& body = message.contents[0];
  EXPECT_EQ(body.flag_c, 1);
  EXPECT_EQ(body.kind, Content::KIND_TEXT);
  EXPECT_EQ(body.str_e, "text/plain");
  EXPECT_EQ(body.str_l, "look");
  EXPECT_EQ(body.str_g, "");

  const Content& photo = message.contents[1];
  EXPECT_EQ(photo.num_b, 1);
  EXPECT_EQ(photo.flag_c, 0);
  EXPECT_EQ(photo.flag_d, 1);
  EXPECT_EQ(photo.kind, Content::KIND_IMAGE);
  EXPECT_EQ(photo.str_e, "image/jpeg");
  EXPECT_EQ(photo.status, Content::STATUS_DONE);
  EXPECT_EQ(photo.str_h, "photo.JPG");
  EXPECT_EQ(photo.str_g, (file_root / "1" / "1-photo.JPG").string());
  EXPECT_EQ(test::read_file(photo.str_g), "jpeg");

  const Content& note = message.contents[2];
  EXPECT_EQ(note.kind, Content::KIND_OTHER);
  EXPECT_EQ(note.str_e, "application/octet-stream");
  EXPECT_EQ(note.str_g, (file_root / "1" / "2-note").string());
  EXPECT_NE(note.id, photo.id);
  EXPECT_NE(photo.id, body.id);
}

TEST_F(ContentCommands, TwoFilesOfOneNameAreKeptApart) {
  fs::create_directory(folder.path() / "a");
  fs::create_directory(folder.path() / "b");
  ASSERT_EQ(send_mms("", file("a/f.txt", "first") + ";" + file("b/f.txt", "second")).outcome.status, STATUS_OK);
  EXPECT_EQ(test::read_file(stored(1).contents.at(0).str_g), "first");
  EXPECT_EQ(test::read_file(stored(1).contents.at(1).str_g), "second");
}

/// The locks that this process holds, as the kernel lists them.
std::vector<std::string> locks_of_this_process() {
  std::vector<std::string> locks;
  std::ifstream list("/proc/locks");
  for (std::string line; std::getline(list, line);) {
    if (line.find(" " + std::to_string(getpid()) + " ") != std::string::npos) {
      locks.push_back(line.substr(line.find(' ')));
    }
  }
  std::sort(locks.begin(), locks.end());
  return locks;
}

TEST_F(ContentCommands, TheDatabaseIsNeitherSentNorUnlocked) {
  send("+4917");
  const std::string other_name = folder.file("innocent.txt");
  fs::create_hard_link(path, other_name);
  const std::vector<std::string> locks = locks_of_this_process();
  ASSERT_FALSE(locks.empty());
  for (const std::string& file : {path, path + "-wal", path + "-shm", other_name}) {
    EXPECT_EQ(send_mms("", file).outcome.status, STATUS_FILE_OUT_OF_BOUNDS) << file;
    EXPECT_EQ(locks_of_this_process(), locks) << file;
  }
  EXPECT_FALSE(message_exists(2));
}

TEST_F(ContentCommands, TheStoreKnowsTheFilesOfItsMessages) {
  send_mms("look", file("note.txt", "text"));
  EXPECT_THAT(files_of_message(store.messages(), 1)->names, testing::Contains("1-note.txt"));
  EXPECT_EQ(files_of_message(store.messages(), 2), std::nullopt);
  beside("UPDATE message SET packed = x'00' WHERE id = 1");
  EXPECT_TRUE(files_of_message(store.messages(), 1)->all) << "a damaged message keeps what it may have";
}

TEST_F(ContentCommands, AHundredFilesAreTakenAndNoMore) {
  const std::string note = file("n", "x");
  std::string paths;
  for (int count = 0; count < 100; ++count) {
    paths += note + ";";
  }
  EXPECT_EQ(send_mms("", paths + note).outcome.status, STATUS_TOO_MUCH);
  EXPECT_EQ(folders(), 0U);
  EXPECT_EQ(send_mms("", paths).message_id, 1);
  EXPECT_EQ(commands.send_content_file(1, note).status, STATUS_TOO_MUCH);
}

TEST_F(ContentCommands, AStrangeStoredPathGivesNoFile) {
  send_mms("", file("note.txt", "text"));
  const std::string secret = file("secret", "secret");
  edit(1, [&](Message& message) { message.contents.at(0).str_g = secret; });
  EXPECT_EQ(commands.get_content_file(1, folder.file("copy.txt")).status, STATUS_FILE_OUT_OF_BOUNDS);
  EXPECT_FALSE(fs::exists(folder.file("copy.txt")));
}

TEST_F(ContentCommands, ARowNamesItsFilesFromTheFolderOn) {
  send_mms("", file("one.txt", "one"));
  commands.send_content_file(1, file("two.txt", "two"));
  const Message message = store.messages().get(1).message;
  EXPECT_EQ(message.contents.at(0).str_g, "1/1-one.txt");
  EXPECT_EQ(message.contents.at(1).str_g, "1/2-two.txt");
}

struct StoredPath {
  const char* name;
  const char* path;  ///< stands behind the folder of attachments where it begins with '*'
  int status;
};

class StoredPaths : public ContentCommands, public testing::WithParamInterface<StoredPath> {};

TEST_P(StoredPaths, LeadToTheStoresOwnFilesAlone) {
  send_mms("", file("note.txt", "text"));
  file("secret", "secret");
  std::string stored_path = GetParam().path;
  if (stored_path.front() == '*') {
    stored_path.replace(0, 1, file_root);
  }
  edit(1, [&](Message& message) { message.contents.at(0).str_g = stored_path; });
  EXPECT_EQ(commands.get_content_file(1, folder.file("copy.txt")).status, GetParam().status);
  EXPECT_EQ(test::read_file(folder.file("copy.txt")), GetParam().status == STATUS_OK ? "text" : "");
}

INSTANTIATE_TEST_SUITE_P(Rows, StoredPaths,
                         testing::Values(StoredPath{"below_the_folder", "1/1-note.txt", STATUS_OK},
                                         StoredPath{"absolute_as_older_rows_have_it", "*/1/1-note.txt", STATUS_OK},
                                         StoredPath{"missing", "1/2-note.txt", STATUS_FILE_NOT_FOUND},
                                         StoredPath{"out_of_the_folder", "../secret", STATUS_FILE_OUT_OF_BOUNDS},
                                         StoredPath{"absolute_out_of_the_folder", "*/../secret",
                                                    STATUS_FILE_OUT_OF_BOUNDS}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ContentCommands, ReadersOfTheStoreMayReadItsFilesWhateverTheMask) {
  fs::permissions(file_root, fs::perms::set_gid, fs::perm_options::add);
  const std::string note = file("note.txt", "text");
  const mode_t mask = umask(0077);
  send_mms("", note);
  commands.get_content_file(1, folder.file("copy.txt"));
  umask(mask);
  const auto mode_of = [](const fs::path& file) { return static_cast<unsigned>(fs::status(file).permissions()); };
  EXPECT_EQ(mode_of(file_root / "1"), 02750U);
  EXPECT_EQ(mode_of(file_root / "1" / "1-note.txt"), 0640U);
  EXPECT_EQ(mode_of(folder.file("copy.txt")), 0640U);
}

TEST_F(ContentCommands, TheCopyIsTheServicesOwn) {
  const std::string original = file("note.txt", "before");
  send_mms("", original);
  file("note.txt", "after");
  EXPECT_EQ(test::read_file(stored(1).contents.at(0).str_g), "before");
}

TEST_F(ContentCommands, AFailedCommitLeavesNoFiles) {
  break_the_store();
  EXPECT_EQ(send_mms("", file("note.txt", "text")).outcome.status, STATUS_FAILED);
  EXPECT_EQ(folders(), 0U);
}

TEST_F(ContentCommands, ARefusedMessageLeavesNoFiles) {
  const std::string note = file("note.txt", "text");
  EXPECT_EQ(send_mms("", note + ";" + folder.file("missing")).outcome.status, STATUS_FILE_NOT_FOUND);
  EXPECT_EQ(commands.send_message({"mms", 0, "", "", note, 1}).outcome.status, STATUS_INVALID_ARGUMENT);
  EXPECT_EQ(folders(), 0U);
}

TEST_F(ContentCommands, DeletingAMessageOrItsThreadDeletesItsFiles) {
  const std::string note = file("note.txt", "text");
  send_mms("", note);
  send_mms("", note);
  EXPECT_EQ(folders(), 2U);
  commands.delete_message(1, 0);
  EXPECT_FALSE(fs::exists(file_root / "1"));
  commands.delete_thread(1);
  EXPECT_EQ(folders(), 0U);
}

TEST_F(ContentCommands, AnAttachmentComesBack) {
  send_mms("look", file("note.txt", "text"));
  const std::string target = folder.file("copy.txt");
  EXPECT_EQ(signal_of(commands.get_content_file(1, target)),
            R"(content_changed {"event":"done","revision":2,"message_ids":[1],"thread_ids":[1]})");
  EXPECT_EQ(test::read_file(target), "text");
}

TEST_F(ContentCommands, NothingIsEverOverwritten) {
  send_mms("", file("note.txt", "text"));
  const std::string target = file("copy.txt", "precious");
  EXPECT_EQ(commands.get_content_file(1, target).status, STATUS_FILE_EXISTS);
  EXPECT_EQ(test::read_file(target), "precious");

  const std::string link = folder.file("link");
  fs::create_symlink(folder.file("elsewhere"), link);
  EXPECT_EQ(commands.get_content_file(1, link).status, STATUS_FILE_EXISTS);
  EXPECT_FALSE(fs::exists(folder.file("elsewhere")));
}

TEST_F(ContentCommands, ATargetThatCannotBeMadeIsRefused) {
  send_mms("", file("note.txt", "text"));
  EXPECT_EQ(commands.get_content_file(1, folder.file("missing/copy.txt")).status, STATUS_FILE_NOT_WRITABLE);
  EXPECT_EQ(commands.get_content_file(1, "copy.txt").status, STATUS_INVALID_ARGUMENT);
  EXPECT_EQ(commands.get_content_file(1, "").status, STATUS_INVALID_ARGUMENT);
}

TEST_F(ContentCommands, AMessageWithoutAttachmentGivesNone) {
  send_mms("only text", "");
  EXPECT_EQ(commands.get_content_file(1, folder.file("copy.txt")).status, STATUS_NOT_APPLICABLE);
  EXPECT_FALSE(fs::exists(folder.file("copy.txt")));
}

TEST_F(ContentCommands, ACopyThatCannotBeAnnouncedIsTakenBack) {
  send_mms("", file("note.txt", "text"));
  break_the_store();
  EXPECT_EQ(commands.get_content_file(1, folder.file("copy.txt")).status, STATUS_FAILED);
  EXPECT_FALSE(fs::exists(folder.file("copy.txt")));
}

TEST_F(ContentCommands, AFileIsAttachedToAnMms) {
  send_mms("look", file("one.txt", "one"));
  EXPECT_EQ(signal_of(commands.send_content_file(1, file("two.png", "image"))),
            R"(content_changed {"event":"done","revision":2,"message_ids":[1],"thread_ids":[1]})");
  const Message message = stored(1);
  ASSERT_EQ(message.contents.size(), 3U);
  EXPECT_EQ(message.contents[2].str_h, "two.png");
  EXPECT_EQ(message.contents[2].status, Content::STATUS_DONE);
  EXPECT_EQ(message.contents[2].num_b, 1);
  EXPECT_NE(message.contents[2].id, message.contents[1].id);
  EXPECT_EQ(test::read_file(message.contents[1].str_g), "one");
  EXPECT_EQ(test::read_file(message.contents[2].str_g), "image");
  EXPECT_EQ(message.num_q, 4 + 3 + 5);
}

TEST_F(ContentCommands, AFailedAttachmentKeepsTheEarlierOnes) {
  send_mms("", file("one.txt", "one"));
  break_the_store();
  EXPECT_EQ(commands.send_content_file(1, file("two.txt", "two")).status, STATUS_FAILED);
  EXPECT_EQ(test::read_file(stored(1).contents.at(0).str_g), "one");
  EXPECT_EQ(std::distance(fs::directory_iterator(file_root / "1"), fs::directory_iterator()), 1);
}

TEST_F(ContentCommands, OnlyOwnMmsTakeFiles) {
  const std::string note = file("note.txt", "text");
  send("+4917");
  EXPECT_EQ(commands.send_content_file(1, note).status, STATUS_NOT_APPLICABLE) << "an SMS";
  Message received = incoming();
  received.num_c = TYPE_MMS;
  EXPECT_EQ(commands.send_content_file(receive(received), note).status, STATUS_NOT_APPLICABLE) << "incoming";
  send_mms("", "");
  EXPECT_EQ(commands.send_content_file(3, folder.file("missing")).status, STATUS_FILE_NOT_FOUND);
  EXPECT_EQ(commands.send_content_file(3, "note.txt").status, STATUS_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace msg_consumer::service
