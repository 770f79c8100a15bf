// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <stdexcept>
#include <string_view>

#include "schema/schema.hpp"
#include "schema/sqlite.hpp"
#include "support/environment.hpp"
#include "support/temp-dir.hpp"

namespace msg_consumer::schema {
namespace {

class Migration : public testing::Test {
 protected:
  Database open() { return open_database(_folder.file("test.db"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE); }

 private:
  test::TempDir _folder;
};

std::int64_t integer(const Database& database, const char* sql) {
  Statement statement(database.get(), sql);
  return statement.step() ? statement.integer(0) : -1;
}

TEST_F(Migration, ANewDatabaseGetsTheSchemaAndItsIdentity) {
  const auto database = open();
  migrate(database.get());
  const Identity identity = read_identity(database.get());
  EXPECT_EQ(identity.application_id, APPLICATION_ID);
  EXPECT_EQ(identity.version, SCHEMA_VERSION);
  EXPECT_EQ(integer(database, "SELECT count(*) FROM message"), 0);
  EXPECT_EQ(integer(database, "PRAGMA foreign_keys"), 1);
}

TEST_F(Migration, ACurrentDatabaseIsLeftAsItIs) {
  const auto database = open();
  migrate(database.get());
  execute(database.get(), "INSERT INTO thread (address_key) VALUES ('k')");
  migrate(database.get());
  EXPECT_EQ(integer(database, "SELECT count(*) FROM thread"), 1);
}

TEST_F(Migration, ANewerDatabaseIsRefusedAndKept) {
  const auto database = open();
  migrate(database.get());
  execute(database.get(), ("PRAGMA user_version = " + std::to_string(SCHEMA_VERSION + 1)).c_str());
  EXPECT_THROW(migrate(database.get()), std::runtime_error);
  EXPECT_EQ(read_identity(database.get()).version, SCHEMA_VERSION + 1);
}

TEST_F(Migration, AForeignDatabaseIsRefusedAndKept) {
  const auto database = open();
  execute(database.get(), "CREATE TABLE theirs (x)");
  EXPECT_THROW(migrate(database.get()), std::runtime_error);
  EXPECT_EQ(integer(database, "SELECT count(*) FROM sqlite_schema"), 1);
}

TEST_F(Migration, AForeignApplicationIdIsRefused) {
  const auto database = open();
  execute(database.get(), "PRAGMA application_id = 42");
  EXPECT_THROW(migrate(database.get()), std::runtime_error);
}

int deny_last_table(void*, int action, const char* name, const char*, const char*, const char*) {
  return action == SQLITE_CREATE_TABLE && std::string_view(name) == "device_request" ? SQLITE_DENY : SQLITE_OK;
}

TEST_F(Migration, IsAllOrNothing) {
  const auto database = open();
  sqlite3_set_authorizer(database.get(), deny_last_table, nullptr);
  EXPECT_THROW(migrate(database.get()), SqliteError);
  sqlite3_set_authorizer(database.get(), nullptr, nullptr);
  EXPECT_EQ(integer(database, "SELECT count(*) FROM sqlite_schema"), 0);
  EXPECT_EQ(read_identity(database.get()).version, 0);
  EXPECT_NO_THROW(migrate(database.get()));
}

TEST_F(Migration, OfTwoAtATimeTheSecondFindsItDone) {
  const auto first = open();
  const auto second = open();
  sqlite3_busy_timeout(second.get(), 10'000);
  migrate(first.get());
  EXPECT_NO_THROW(migrate(second.get()));
}

TEST(DatabasePath, IsTheDefaultUnlessOverridden) {
  {
    const test::EnvironmentVariable unset("MSG_CONSUMER_DB", std::nullopt);
    EXPECT_EQ(database_path(), "/var/lib/msg-consumer/messages.db");
  }
  {
    const test::EnvironmentVariable empty("MSG_CONSUMER_DB", "");
    EXPECT_EQ(database_path(), "/var/lib/msg-consumer/messages.db");
  }
  const test::EnvironmentVariable set("MSG_CONSUMER_DB", "/elsewhere/x.db");
  EXPECT_EQ(database_path(), "/elsewhere/x.db");
}

class Sqlite : public Migration {};

TEST_F(Sqlite, AFailureCarriesCodeAndWords) {
  const auto database = open();
  try {
    execute(database.get(), "nonsense");
    FAIL();
  } catch (const SqliteError& error) {
    EXPECT_EQ(error.primary(), SQLITE_ERROR);
    EXPECT_NE(std::string(error.what()).find("nonsense"), std::string::npos);
  }
}

TEST_F(Sqlite, AnEmptyTextIsNotNull) {
  const auto database = open();
  Statement statement(database.get(), "SELECT ? IS NULL, ? IS NULL, ? IS NULL");
  ASSERT_TRUE(statement.bind(1, std::string_view()).bind_blob(2, {}).bind_null(3).step());
  EXPECT_EQ(statement.integer(0), 0);
  EXPECT_EQ(statement.integer(1), 0);
  EXPECT_EQ(statement.integer(2), 1);
}

TEST_F(Sqlite, ATransactionIsRolledBackUnlessCommitted) {
  const auto database = open();
  execute(database.get(), "CREATE TABLE t (x)");
  {
    const Transaction transaction(database.get());
    execute(database.get(), "INSERT INTO t VALUES (1)");
  }
  EXPECT_EQ(integer(database, "SELECT count(*) FROM t"), 0);
  Transaction transaction(database.get());
  execute(database.get(), "INSERT INTO t VALUES (1)");
  transaction.commit();
  EXPECT_EQ(integer(database, "SELECT count(*) FROM t"), 1);
}

TEST_F(Sqlite, AStatementThatFailedRunsAgain) {
  const auto database = open();
  execute(database.get(), "CREATE TABLE t (x UNIQUE)");
  Statement insert(database.get(), "INSERT INTO t VALUES (?)");
  insert.bind(1, 1).run();
  EXPECT_THROW(insert.bind(1, 1).run(), SqliteError);
  EXPECT_NO_THROW(insert.bind(1, 2).run());
}

}  // namespace
}  // namespace msg_consumer::schema
