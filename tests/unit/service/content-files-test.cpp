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
  ContentFiles files{{.database = folder.file("messages.db"), .files = root}};
};

struct Odd {
  const char* name;
  std::function<void(const std::string& path)> make;
  Status status;
};

class OddFiles : public Files, public testing::WithParamInterface<Odd> {};

TEST_P(OddFiles, AreRefused) {
  const std::string place = folder.file("odd");
  GetParam().make(place);
  const std::string path = fs::exists(folder.path() / "linked") ? folder.file("linked/odd") : place;
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

void make_linked_folder(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  fs::create_directory(folder / "real");
  test::write_file(folder / "real" / "odd", "x");
  fs::create_directory_symlink(folder / "real", folder / "linked");
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, OddFiles,
    testing::Values(Odd{"Missing", [](const std::string&) {}, STATUS_FILE_NOT_FOUND},
                    Odd{"Folder", [](const std::string& path) { fs::create_directory(path); }, STATUS_FILE_NOT_REGULAR},
                    Odd{"SymbolicLink", [](const std::string& path) { fs::create_symlink("/etc/hostname", path); },
                        STATUS_FILE_NOT_REGULAR},
                    Odd{"Pipe", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
                        STATUS_FILE_NOT_REGULAR},
                    Odd{"Socket", make_socket, STATUS_FILE_NOT_REGULAR},
                    Odd{"ThroughALinkedFolder", make_linked_folder, STATUS_FILE_NOT_REGULAR}),
    [](const auto& row) { return row.param.name; });

TEST_F(Files, ADeviceIsRefused) { EXPECT_EQ(copying("/dev/zero"), STATUS_FILE_NOT_REGULAR); }

struct Foreign {
  const char* name;
  const char* path;
  Status status;
};

class KernelFiles : public Files, public testing::WithParamInterface<Foreign> {};

TEST_P(KernelFiles, AreRefused) { EXPECT_EQ(copying(GetParam().path), GetParam().status); }

INSTANTIATE_TEST_SUITE_P(EachWay, KernelFiles,
                         testing::Values(Foreign{"OfTheProcess", "/proc/1/environ", STATUS_FILE_NOT_REGULAR},
                                         Foreign{"ThroughALink", "/proc/self/environ", STATUS_FILE_NOT_REGULAR},
                                         Foreign{"ThroughARoot", "/proc/1/root/etc/hostname", STATUS_FILE_NOT_REGULAR},
                                         Foreign{"OfTheSystem", "/sys/kernel/uevent_seqnum", STATUS_FILE_NOT_REGULAR}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Files, TheAttachmentsOfOthersAreRefused) {
  fs::create_directory(root / "7");
  test::write_file(root / "7" / "1-note", "private");
  EXPECT_EQ(copying(root / "7" / "1-note"), STATUS_FILE_OUT_OF_BOUNDS);
  EXPECT_EQ(status_of([&] { files.copy_out(root / "7" / "1-note", root / "7" / "2-copy"); }),
            STATUS_FILE_OUT_OF_BOUNDS);
  EXPECT_FALSE(fs::exists(root / "7" / "2-copy"));
}

TEST_F(Files, AreHandedOverInOneFolderWhereThereIsOne) {
  const fs::path exchange = folder.path() / "exchange";
  fs::create_directories(exchange / "deeper");
  const ContentFiles confined({.database = folder.file("messages.db"), .files = root, .exchange = exchange});
  const auto taking = [&](const fs::path& path) { return status_of([&] { confined.copy_in({path}, 10); }); };
  test::write_file(folder.file("outside"), "x");
  test::write_file(exchange / "deeper" / "inside", "x");
  EXPECT_EQ(taking(exchange / "deeper" / "inside"), STATUS_OK);
  EXPECT_EQ(taking(folder.file("outside")), STATUS_FILE_OUT_OF_BOUNDS);
  EXPECT_EQ(taking(exchange / ".." / "outside"), STATUS_FILE_OUT_OF_BOUNDS);

  fs::create_directory(root / "7");
  test::write_file(root / "7" / "1-note", "text");
  const auto giving = [&](const fs::path& path) {
    return status_of([&] { confined.copy_out(root / "7" / "1-note", path); });
  };
  EXPECT_EQ(giving(exchange / "copy"), STATUS_OK);
  EXPECT_EQ(giving(folder.file("copy")), STATUS_FILE_OUT_OF_BOUNDS);
  EXPECT_FALSE(fs::exists(folder.file("copy")));
}

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
  test::write_file(root / "1" / "2-never-named", "x");
  fs::create_directory(root / "3");
  test::write_file(root / "3" / "1-of-a-damaged-message", "x");
  files.remove_orphans([](int message_id) -> std::optional<MessageFiles> {
    switch (message_id) {
      case 1:
        return MessageFiles{.all = false, .names = {"1-file"}};
      case 3:
        return MessageFiles{.all = true};
      default:
        return std::nullopt;
    }
  });
  EXPECT_TRUE(fs::exists(root / "1" / "1-file"));
  EXPECT_FALSE(fs::exists(root / "1" / "2-never-named"));
  EXPECT_TRUE(fs::exists(root / "3" / "1-of-a-damaged-message"));
  EXPECT_FALSE(fs::exists(root / "2"));
  EXPECT_FALSE(fs::exists(root / ".incoming-x1y2z3"));
  EXPECT_TRUE(fs::exists(root / "notes" / "1-file"));
  EXPECT_TRUE(fs::exists(root / "2000000000000" / "1-file"));
}

TEST_F(Files, BelongToOneStore) {
  const Locations places{.database = folder.file("messages.db"), .files = root};
  { ContentFiles(places).claim("one"); }
  EXPECT_NO_THROW(ContentFiles(places).claim("one"));
  EXPECT_THROW(ContentFiles(places).claim("other"), std::runtime_error);
}

TEST_F(Files, AreTakenOverWhenTheirOwnersIdNeverCameToTheDisk) {
  const std::string id(32, 'a');
  test::write_file(root / ".store", std::string(id.size(), '\0'));
  EXPECT_NO_THROW(files.claim(id));
  EXPECT_EQ(test::read_file(root / ".store"), id);
}

TEST_F(Files, AreUsedByOneInstance) {
  files.claim("one");
  ContentFiles second({.database = folder.file("messages.db"), .files = root});
  EXPECT_THROW(second.claim("one"), std::runtime_error);
}

TEST_F(Files, OfAnUnknownStoreAreNotTakenOver) {
  fs::create_directory(root / "1");
  EXPECT_THROW(files.claim("one"), std::runtime_error);
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
