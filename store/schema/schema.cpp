// SPDX-License-Identifier: Apache-2.0
#include "schema/schema.hpp"

#include <array>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string_view>

#include "schema/sqlite.hpp"

namespace msg_consumer::schema {

// Made from schema-v1.sql by the build.
extern const std::string_view SCHEMA_V1;

namespace {

int pragma(sqlite3* database, const char* sql) {
  Statement statement(database, sql);
  return statement.step() ? static_cast<int>(statement.integer(0)) : 0;
}

bool is_empty(sqlite3* database) { return pragma(database, "SELECT count(*) FROM sqlite_schema") == 0; }

int last_version(Migrations migrations) { return static_cast<int>(migrations.size()); }

int migratable_version(sqlite3* database, int last) {
  const Identity identity = read_identity(database);
  const bool ours = identity.application_id == APPLICATION_ID && identity.version > 0;
  const bool fresh = identity.application_id == 0 && identity.version == 0 && is_empty(database);
  if (!ours && !fresh) throw std::runtime_error("the file is a database of another application");
  if (identity.version > last) {
    throw std::runtime_error("the database has schema version " + std::to_string(identity.version) +
                             ", this program knows versions up to " + std::to_string(last));
  }
  return identity.version;
}

// The version is read again inside the transaction: another process may have migrated meanwhile.
void migrate_one_version(sqlite3* database, Migrations migrations) {
  Transaction transaction(database);
  const int version = migratable_version(database, last_version(migrations));
  if (version < last_version(migrations)) {
    execute(database, std::string(migrations[static_cast<std::size_t>(version)]).c_str());
    execute(database, ("PRAGMA application_id = " + std::to_string(APPLICATION_ID)).c_str());
    execute(database, ("PRAGMA user_version = " + std::to_string(version + 1)).c_str());
  }
  transaction.commit();
}

/// The SQL text of each table, index and trigger. What SQLite makes for itself, and the tables inside the search index,
/// may look otherwise with another version of SQLite.
std::map<std::string, std::string> definitions(sqlite3* database) {
  Statement objects(database,
                    "SELECT type || ' ' || name, sql FROM sqlite_schema WHERE sql IS NOT NULL"
                    " AND name NOT GLOB 'sqlite_*'"
                    " AND tbl_name NOT IN (SELECT name FROM pragma_table_list WHERE type = 'shadow')");
  std::map<std::string, std::string> result;
  while (objects.step()) result.emplace(objects.text(0), objects.text(1));
  return result;
}

// Without a trigger, say, searches would go on and find less and less.
void check_definitions(sqlite3* database, Migrations migrations) {
  if (migrations.empty()) return;
  const auto reference = open_database(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  for (const std::string_view step : migrations) execute(reference.get(), std::string(step).c_str());
  const auto found = definitions(database);
  for (const auto& [name, definition] : definitions(reference.get())) {
    const auto object = found.find(name);
    if (object == found.end() || object->second != definition) {
      throw std::runtime_error("the database was altered: the " + name +
                               (object == found.end() ? " is missing" : " is not that of its schema version"));
    }
  }
}

std::string from_environment(const char* variable, const char* otherwise) {
  const char* value = secure_getenv(variable);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

}  // namespace

Identity read_identity(sqlite3* database) {
  return {pragma(database, "PRAGMA application_id"), pragma(database, "PRAGMA user_version")};
}

Migrations released_migrations() {
  static const std::array<std::string_view, SCHEMA_VERSION> migrations = {SCHEMA_V1};
  return migrations;
}

void migrate(sqlite3* database, Migrations migrations) {
  execute(database, "PRAGMA foreign_keys = ON");
  const int version = migratable_version(database, last_version(migrations));
  check_definitions(database, migrations.first(static_cast<std::size_t>(version)));
  while (migratable_version(database, last_version(migrations)) < last_version(migrations)) {
    migrate_one_version(database, migrations);
  }
}

std::string database_path() { return from_environment("MSG_CONSUMER_DB", "/var/lib/msg-consumer/messages.db"); }

std::string attachments_path() { return from_environment("MSG_CONSUMER_FILES", "/var/lib/msg-consumer/files"); }

}  // namespace msg_consumer::schema
