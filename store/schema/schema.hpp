// SPDX-License-Identifier: Apache-2.0
#ifndef MSG_CONSUMER_STORE_SCHEMA_SCHEMA_HPP
#define MSG_CONSUMER_STORE_SCHEMA_SCHEMA_HPP

#include <sqlite3.h>

#include <span>
#include <string>
#include <string_view>

namespace msg_consumer::schema {

/// Kept in the database's `user_version`.
inline constexpr int SCHEMA_VERSION = 1;

/// Kept in the database's `application_id`, so that a foreign database is told from ours.
inline constexpr int APPLICATION_ID = 0x4d534743;

/// The application id and schema version of a database; a new, empty one has 0 for both.
struct Identity {
  int application_id;
  int version;
};
Identity read_identity(sqlite3* database);

/// SQL texts: the one at index N brings a database from version N to version N + 1.
using Migrations = std::span<const std::string_view>;

/// Those of all versions up to `SCHEMA_VERSION`.
Migrations released_migrations();

/// Brings a database to the last version, each version's step in a transaction of its own. Throws `SqliteError`, or
/// `std::runtime_error` for a database that is foreign or newer, or whose tables, indexes or triggers are not those of
/// its version; what it has besides is left alone. Runs with foreign keys on.
void migrate(sqlite3* database, Migrations migrations = released_migrations());

/// Where the database lies: `MSG_CONSUMER_DB`, or the default place.
std::string database_path();

/// Where the attachments lie: `MSG_CONSUMER_FILES`, or the default place. A row names what is below it, so that a store
/// can be moved; a path that begins with '/' is one as it stands.
std::string attachments_path();

}  // namespace msg_consumer::schema

#endif
