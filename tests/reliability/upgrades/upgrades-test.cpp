// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <msg-consumer-common/db.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <random>

#include "reliability/files/dying-disk.hpp"
#include "reliability/files/file-faults.hpp"
#include "reliability/whole/service-on-disk.hpp"
#include "reliability/whole/store-check.hpp"
#include "schema/schema.hpp"
#include "service/database-file.hpp"
#include "stored-database.hpp"
#include "support/environment.hpp"
#include "support/figures.hpp"
#include "support/private-bus.hpp"
#include "support/process.hpp"
#include "support/temp-dir.hpp"
#include "unit/store/named-row.hpp"

namespace msg_consumer::test {
namespace {

using testing::HasSubstr;

/// A device's folder with a stored database in it.
class Upgrade : public testing::Test {
 protected:
  ~Upgrade() override { db::deinit_db(); }

  static void unpack(int version, const std::filesystem::path& folder) {
    write_file(ServiceOnDisk::database_in(folder), unpacked(stored_database(version)));
  }

  TempDir folder;
  std::string path = ServiceOnDisk::database_in(folder.path());
  EnvironmentVariable database{"MSG_CONSUMER_DB", path};
};

class UpgradeFrom : public Upgrade, public testing::WithParamInterface<int> {};

// A version is released with a database that `make-stored-database` has stored.
TEST_P(UpgradeFrom, KeepsAllThatWasStored) {
  ASSERT_TRUE(std::filesystem::exists(stored_database(GetParam()))) << "run make-stored-database";
  unpack(GetParam(), folder.path());
  const std::string expected = unpacked(stored_answers(GetParam()));
  if (GetParam() == schema::SCHEMA_VERSION) {
    // Made by whoever reads first: the service has not run since it was stored.
    EXPECT_EQ(all_answers(), expected);
  } else {
    EXPECT_EQ(db::init_db(), db::DB_OLDER_SCHEMA);
  }
  {
    ServiceOnDisk service(folder.path());
    EXPECT_EQ(schema::read_identity(service.store().database()).version, schema::SCHEMA_VERSION);
    EXPECT_EQ(damage_of(service.store().database()), "");
    EXPECT_EQ(all_answers(), expected);
    EXPECT_EQ(service.send("+491701000001", "goes on").outcome.status, service::STATUS_OK);
  }
  EXPECT_NE(all_answers(), expected);
}

INSTANTIATE_TEST_SUITE_P(EachVersion, UpgradeFrom, testing::Range(1, schema::SCHEMA_VERSION + 1),
                         [](const auto& row) { return "Version" + std::to_string(row.param); });

class NewerDatabase : public Upgrade {
 protected:
  NewerDatabase() {
    { const ServiceOnDisk service(folder.path()); }
    const auto opened = schema::open_database(path, SQLITE_OPEN_READWRITE);
    schema::execute(opened.get(), ("PRAGMA user_version = " + std::to_string(schema::SCHEMA_VERSION + 1)).c_str());
  }
};

TEST_F(NewerDatabase, IsRefusedByAReaderInWords) {
  Process reader([] { return db::init_db() == db::DB_NEWER_SCHEMA ? 0 : 1; });
  EXPECT_EQ(reader.wait(), 0);
  EXPECT_THAT(reader.standard_error(), HasSubstr("update it"));
}

TEST_F(NewerDatabase, IsRefusedByTheServiceInWords) {
  const EnvironmentVariable files("MSG_CONSUMER_FILES", folder.file("files"));
  const EnvironmentVariable preferences("MSG_CONSUMER_PREFERENCES", folder.file("preferences.ini"));
  const std::string before = read_file(path);
  const PrivateBus bus;
  Process program({SERVICE_PROGRAM});
  EXPECT_EQ(program.wait(), EXIT_FAILURE);
  EXPECT_THAT(program.standard_error(),
              HasSubstr("schema version " + std::to_string(schema::SCHEMA_VERSION + 1) + ", this program knows"));
  EXPECT_EQ(read_file(path), before);
}

struct Alteration {
  const char* name;
  const char* sql;
  const char* complaint;  ///< null when it is tolerated
};

void PrintTo(const Alteration& alteration, std::ostream* out) { *out << alteration.name; }

class AlteredDatabase : public Upgrade, public testing::WithParamInterface<Alteration> {};

// What is missing would be missed silently, and answers would be wrong; what is there besides does no harm.
TEST_P(AlteredDatabase, IsRefusedUnlessItHasAllThatItsVersionHas) {
  { ServiceOnDisk(folder.path()).fill(folder.path()); }
  schema::execute(schema::open_database(path, SQLITE_OPEN_READWRITE).get(), GetParam().sql);
  std::string complaint;
  try {
    const ServiceOnDisk service(folder.path());
  } catch (const std::exception& error) {
    complaint = error.what();
  }
  EXPECT_THAT(complaint, GetParam().complaint != nullptr ? HasSubstr(GetParam().complaint) : HasSubstr(""));
  EXPECT_EQ(complaint.empty(), GetParam().complaint == nullptr) << complaint;
}

constexpr Alteration ALTERATIONS[] = {
    {"WithoutATrigger", "DROP TRIGGER message_text_added", "the trigger message_text_added is missing"},
    {"WithoutAnIndex", "DROP INDEX nms_meta_by_correlation", "the index nms_meta_by_correlation is missing"},
    {"WithoutATable", "DROP TABLE device_request", "the table device_request is missing"},
    {"WithAnotherColumn", "ALTER TABLE thread ADD COLUMN colour TEXT", "the table thread is not that"},
    {"WithAnotherIndex", "DROP INDEX message_by_type; CREATE INDEX message_by_type ON message (type)",
     "the index message_by_type is not that"},
    {"WithAnIndexBesides", "CREATE INDEX mine ON message (type, is_read)", nullptr},
    {"WithATableBesides", "CREATE TABLE mine (x)", nullptr},
};

INSTANTIATE_TEST_SUITE_P(EachWay, AlteredDatabase, testing::ValuesIn(ALTERATIONS), test::name_of_row);

// What the next version's step could be: new columns and tables, a table made anew, an index built again.
constexpr std::string_view NEXT_VERSION = R"(
ALTER TABLE message ADD COLUMN is_starred INTEGER NOT NULL DEFAULT 0;
CREATE TABLE label (message_id INTEGER NOT NULL REFERENCES message (id) ON DELETE CASCADE, name TEXT NOT NULL) STRICT;
INSERT INTO label SELECT id, 'unread' FROM message WHERE is_read = 0;
CREATE INDEX label_by_name ON label (name);
CREATE TABLE thread_address_2 (id INTEGER PRIMARY KEY AUTOINCREMENT,
  thread_id INTEGER NOT NULL REFERENCES thread (id) ON DELETE CASCADE,
  kind INTEGER NOT NULL, address TEXT NOT NULL, is_own INTEGER NOT NULL DEFAULT 0, name TEXT) STRICT;
INSERT INTO thread_address_2 SELECT *, NULL FROM thread_address;
DROP TABLE thread_address;
ALTER TABLE thread_address_2 RENAME TO thread_address;
CREATE INDEX thread_address_by_thread ON thread_address (thread_id, id);
INSERT INTO message_search (message_search) VALUES ('rebuild');
)";

/// A migration to a version that does not exist yet.
class BrokenUpgrade : public Upgrade {
 protected:
  BrokenUpgrade() {
    unpack(schema::SCHEMA_VERSION, _stored.path());
    const auto opened = service::open_database_file(ServiceOnDisk::database_in(_stored.path()));
    _messages = messages(opened.get());
  }

  /// Puts the database of today in the place of whatever there is.
  void reset() const { put(_stored.path(), folder.path()); }

  static void migrate(const std::filesystem::path& place) {
    std::vector<std::string_view> steps(schema::released_migrations().begin(), schema::released_migrations().end());
    steps.push_back(NEXT_VERSION);
    service::open_database_file(ServiceOnDisk::database_in(place), steps);
  }

  /// Old or new, and whole; and the next start makes it new.
  void check(const std::filesystem::path& place) {
    ++tried;
    {
      const auto opened = schema::open_database(ServiceOnDisk::database_in(place), SQLITE_OPEN_READWRITE);
      const int version = schema::read_identity(opened.get()).version;
      ASSERT_TRUE(version == schema::SCHEMA_VERSION || version == schema::SCHEMA_VERSION + 1) << version;
      ASSERT_EQ(has_label(opened.get()), version > schema::SCHEMA_VERSION);
      ASSERT_EQ(messages(opened.get()), _messages);
    }
    ASSERT_NO_THROW(migrate(place));
    const auto opened = schema::open_database(ServiceOnDisk::database_in(place), SQLITE_OPEN_READWRITE);
    ASSERT_EQ(schema::read_identity(opened.get()).version, schema::SCHEMA_VERSION + 1);
    ASSERT_TRUE(has_label(opened.get()));
    ASSERT_EQ(messages(opened.get()), _messages);
    ASSERT_EQ(damage_of(opened.get()), "");
    ++survived;
  }

  int tried = 0;
  int survived = 0;

 private:
  static void put(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::filesystem::remove_all(to);
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive);
  }
  static bool has_label(sqlite3* database) {
    schema::Statement label(database, "SELECT 1 FROM sqlite_schema WHERE name = 'label'");
    return label.step();
  }
  static std::string messages(sqlite3* database) {
    std::string text;
    schema::Statement rows(database,
                           "SELECT quote(m.packed) || quote(t.folded) || a.address FROM message AS m"
                           " JOIN message_text AS t ON t.message_id = m.id"
                           " JOIN thread_address AS a ON a.thread_id = m.thread_id ORDER BY m.id, a.id");
    while (rows.step()) text.append(rows.text(0)).append("\n");
    return text;
  }

  TempDir _stored;
  EnvironmentVariable _log{"MSG_CONSUMER_LOG_LEVEL", "7"};
  std::string _messages;
};

TEST_F(BrokenUpgrade, ByAKillLeavesTheOldOrTheNew) {
  bool was_killed = true;
  for (int number = 0; was_killed; ++number) {
    reset();
    Process child([&] {
      FaultyFiles files;
      int left = number;
      files.on_change = [&] {
        if (left-- == 0) raise(SIGKILL);
      };
      migrate(folder.path());
      return 0;
    });
    was_killed = child.wait() == -SIGKILL;
    ASSERT_NO_FATAL_FAILURE(check(folder.path())) << "killed at " << number;
  }
  EXPECT_GT(survived, 50);
  report_figure("kills of a migration", tried, survived);
}

TEST_F(BrokenUpgrade, ByAFileFaultLeavesTheOldOrTheNew) {
  FaultyFiles files;
  for (const FileFault& fault : FILE_FAULTS) {
    for (const bool persists : {false, true}) {
      bool struck = true;
      for (int number = 0; struck; number = next_call(number)) {
        reset();
        files.arm(fault, number, persists);
        bool failed = false;
        try {
          migrate(folder.path());
        } catch (const std::exception&) {
          failed = true;
        }
        struck = files.disarm();
        ASSERT_TRUE(struck || !failed);
        ASSERT_NO_FATAL_FAILURE(check(folder.path())) << fault.name << " at call " << number;
      }
    }
  }
  EXPECT_GT(survived, 100);
  report_figure("file faults in a migration", tried, survived);
}

TEST_F(BrokenUpgrade, ByTheDeathOfTheMachineLeavesTheOldOrTheNew) {
  FaultyFiles files;
  std::mt19937 random(1);
  reset();
  DyingDisk disk(folder.path());
  for (const std::string& place : {path, folder.path().string()}) {
    disk.note_sync(service::FileDescriptor(open(place.c_str(), O_RDONLY | O_CLOEXEC)).get());
  }
  bool is_looking = false;
  const auto look = [&] {
    if (is_looking || HasFatalFailure()) return;
    is_looking = true;
    const TempDir left;
    disk.leave(left.path() / "left", random);
    check(left.path() / "left");
    is_looking = false;
  };
  files.on_change = look;
  files.on_sync = [&](int descriptor) {
    if (!is_looking) disk.note_sync(descriptor);
  };
  migrate(folder.path());
  look();
  EXPECT_GT(survived, 50);
  report_figure("death of the machine in a migration", tried, survived);
}

}  // namespace
}  // namespace msg_consumer::test
