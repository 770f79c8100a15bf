// SPDX-License-Identifier: Apache-2.0
#include "schema/schema.hpp"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "schema/sqlite.hpp"

namespace msg_consumer::schema {

// Made from schema-v1.sql by the build.
extern const std::string_view SCHEMA_V1;

namespace {

// The step at index N brings a database from version N to version N + 1.
const std::array<const std::string_view*, SCHEMA_VERSION> MIGRATIONS = {&SCHEMA_V1};

int pragma(sqlite3* database, const char* sql) {
  Statement statement(database, sql);
  return statement.step() ? static_cast<int>(statement.integer(0)) : 0;
}

bool is_empty(sqlite3* database) { return pragma(database, "SELECT count(*) FROM sqlite_schema") == 0; }

int migratable_version(sqlite3* database) {
  const Identity identity = read_identity(database);
  const bool ours = identity.application_id == APPLICATION_ID && identity.version > 0;
  const bool fresh = identity.application_id == 0 && identity.version == 0 && is_empty(database);
  if (!ours && !fresh) throw std::runtime_error("the file is a database of another application");
  if (identity.version > SCHEMA_VERSION) {
    throw std::runtime_error("the database has schema version " + std::to_string(identity.version) +
                             ", this program knows versions up to " + std::to_string(SCHEMA_VERSION));
  }
  return identity.version;
}

// The version is read again inside the transaction: another process may have migrated meanwhile.
void migrate_one_version(sqlite3* database) {
  Transaction transaction(database);
  const int version = migratable_version(database);
  if (version < SCHEMA_VERSION) {
    execute(database, std::string(*MIGRATIONS.at(static_cast<std::size_t>(version))).c_str());
    execute(database, ("PRAGMA application_id = " + std::to_string(APPLICATION_ID)).c_str());
    execute(database, ("PRAGMA user_version = " + std::to_string(version + 1)).c_str());
  }
  transaction.commit();
}

}  // namespace

Identity read_identity(sqlite3* database) {
  return {pragma(database, "PRAGMA application_id"), pragma(database, "PRAGMA user_version")};
}

void migrate(sqlite3* database) {
  execute(database, "PRAGMA foreign_keys = ON");
  while (migratable_version(database) < SCHEMA_VERSION) migrate_one_version(database);
}

std::string database_path() {
  const char* override_path = secure_getenv("MSG_CONSUMER_DB");
  return override_path != nullptr && *override_path != '\0' ? override_path : "/var/lib/msg-consumer/messages.db";
}

}  // namespace msg_consumer::schema
