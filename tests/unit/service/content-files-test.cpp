// SPDX-License-Identifier: Apache-2.0
#include "service/content-files.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <functional>

#include "service/attachments.hpp"
#include "service/file-descriptor.hpp"
#include "service/mime-type.hpp"
#include "service/status.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::service {
namespace {

namespace fs = std::filesystem;

Status status_of(const std::function<void()>& action) {
  try {
    action();
    return STATUS_OK;
  } catch (const Refusal& refusal) {
    return refusal.status();
  }
}

class Files : public testing::Test {
 protected:
  std::size_t entries(const fs::path& path) const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path), fs::directory_iterator()));
  }
  Status copying(const std::string& path, std::int64_t limit = ContentFiles::MAX_TOTAL_SIZE) const {
    return status_of([&] { files.copy_in({path}, limit); });
  }

  test::TempDir folder;
  fs::path root = folder.path() / "files";
  ContentFiles files{root};
};

struct Odd {
  const char* name;
  std::function<void(const std::string& path)> make;
  Status status;
};

class OddFiles : public Files, public testing::WithParamInterface<Odd> {};

TEST_P(OddFiles, AreRefused) {
  const std::string path = folder.file("odd");
  GetParam().make(path);
  EXPECT_EQ(copying(path), GetParam().status);
  EXPECT_EQ(entries(root), 0U);
}

void make_socket(const std::string& path) {
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, OddFiles,
    testing::Values(Odd{"Missing", [](const std::string&) {}, STATUS_FILE_NOT_FOUND},
                    Odd{"Folder", [](const std::string& path) { fs::create_directory(path); }, STATUS_FILE_NOT_REGULAR},
                    Odd{"SymbolicLink", [](const std::string& path) { fs::create_symlink("/etc/hostname", path); },
                        STATUS_FILE_NOT_REGULAR},
                    Odd{"Pipe", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
                        STATUS_FILE_NOT_REGULAR},
                    Odd{"Socket", make_socket, STATUS_FILE_NOT_REGULAR}),
    [](const auto& row) { return row.param.name; });

TEST_F(Files, ADeviceIsRefused) { EXPECT_EQ(copying("/dev/zero"), STATUS_FILE_NOT_REGULAR); }

/// Gives up root's rights, as long as it lives.
class OrdinaryUser {
 public:
  OrdinaryUser() { EXPECT_EQ(seteuid(_before == 0 ? NOBODY : _before), 0); }
  ~OrdinaryUser() { EXPECT_EQ(seteuid(_before), 0); }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static constexpr uid_t NOBODY = 65534;
  uid_t _before = geteuid();
};

TEST_F(Files, OnesThatMayNotBeReadAreRefused) {
  const std::string path = folder.file("secret");
  test::write_file(path, "secret");
  fs::permissions(path, fs::perms::none);
  fs::permissions(folder.path(), fs::perms::all);
  fs::permissions(root, fs::perms::all);
  const OrdinaryUser user;
  EXPECT_EQ(copying(path), STATUS_FILE_NOT_READABLE);
}

TEST_F(Files, TheLimitHoldsForAllTogether) {
  const std::string three = folder.file("three");
  test::write_file(three, "123");
  EXPECT_EQ(copying(three, 3), STATUS_OK);
  EXPECT_EQ(copying(three, 2), STATUS_FILE_TOO_LARGE);
  EXPECT_EQ(status_of([&] { files.copy_in({three, three}, 6); }), STATUS_OK);
  EXPECT_EQ(status_of([&] { files.copy_in({three, three}, 5); }), STATUS_FILE_TOO_LARGE);
  EXPECT_EQ(entries(root), 0U);
}

TEST_F(Files, ALongNameIsShortenedBetweenCharacters) {
  std::string name;
  while (name.size() + 2 <= 255) {
    name += "ä";
  }
  test::write_file(folder.path() / name, "x");
  IncomingFiles incoming = files.copy_in({folder.file(name)}, 10);
  files.place(incoming, 7, 1);
  EXPECT_EQ(incoming.files().at(0).path.filename().string(), "1-" + name.substr(0, 240));
  EXPECT_EQ(incoming.files().at(0).name, name);
}

TEST_F(Files, WhatADeadInstanceLeftIsRemovedAndNothingElse) {
  fs::create_directories(root / ".incoming-x1y2z3");
  test::write_file(root / ".incoming-x1y2z3" / "0", "half");
  for (const char* name : {"1", "2", "2000000000000", "notes"}) {
    fs::create_directory(root / name);
    test::write_file(root / name / "1-file", "x");
  }
  files.remove_orphans([](int message_id) { return message_id == 1; });
  EXPECT_TRUE(fs::exists(root / "1" / "1-file"));
  EXPECT_FALSE(fs::exists(root / "2"));
  EXPECT_FALSE(fs::exists(root / ".incoming-x1y2z3"));
  EXPECT_TRUE(fs::exists(root / "notes" / "1-file"));
  EXPECT_TRUE(fs::exists(root / "2000000000000" / "1-file"));
}

TEST_F(Files, AnOrphanInTheWayDoesNoHarm) {
  fs::create_directory(root / "7");
  test::write_file(root / "7" / "1-note", "old");
  test::write_file(folder.file("note"), "new");
  IncomingFiles incoming = files.copy_in({folder.file("note")}, 10);
  files.place(incoming, 7, 1);
  incoming.keep();
  EXPECT_EQ(test::read_file(root / "7" / "1-note"), "new");
}

struct Split {
  const char* name;
  const char* paths;
  std::vector<std::string> result;
};

class SplitPaths : public testing::TestWithParam<Split> {};

TEST_P(SplitPaths, AreToldApart) {
  if (GetParam().result.empty() && *GetParam().paths != '\0') {
    EXPECT_EQ(status_of([] { split_paths(GetParam().paths); }), STATUS_INVALID_ARGUMENT);
  } else {
    EXPECT_EQ(split_paths(GetParam().paths), GetParam().result);
  }
}

INSTANTIATE_TEST_SUITE_P(EachCase, SplitPaths,
                         testing::Values(Split{"None", "", {}}, Split{"One", "/a b", {"/a b"}},
                                         Split{"Two", "/a;/b", {"/a", "/b"}}, Split{"SeparatorAtTheEnd", "/a;", {"/a"}},
                                         Split{"EmptyInTheMiddle", "/a;;/b", {}}, Split{"EmptyFirst", ";/b", {}},
                                         Split{"Relative", "/a;b", {}}),
                         [](const auto& row) { return row.param.name; });

struct Named {
  const char* name;
  const char* file;
  const char* mime_type;
  Content::Kind kind;
};

class MimeTypes : public testing::TestWithParam<Named> {};

TEST_P(MimeTypes, AreToldFromTheName) {
  EXPECT_EQ(mime_type_of(GetParam().file), GetParam().mime_type);
  EXPECT_EQ(kind_of(mime_type_of(GetParam().file)), GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(EachKind, MimeTypes,
                         testing::Values(Named{"Text", "a.txt", "text/plain", Content::KIND_TEXT},
                                         Named{"Image", "a.b.PNG", "image/png", Content::KIND_IMAGE},
                                         Named{"Video", "a.mp4", "video/mp4", Content::KIND_VIDEO},
                                         Named{"Audio", "a.amr", "audio/amr", Content::KIND_AUDIO},
                                         Named{"Other", "a.pdf", "application/pdf", Content::KIND_OTHER},
                                         Named{"Unknown", "a.xyz", "application/octet-stream", Content::KIND_OTHER},
                                         Named{"NoExtension", "png", "application/octet-stream", Content::KIND_OTHER},
                                         Named{"DotAtTheEnd", "png.", "application/octet-stream", Content::KIND_OTHER}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace msg_consumer::service
